#include "ui/window/SendToDeviceButton.h"

#include "app/AppState.h"
#include "base/VisibleText.h"
#include "theme/Icons.h"
#include "ui/controls/KeyText.h"
#include "ui/controls/PlainText.h"
#include "ui/controls/ProgressIndicator.h"

namespace Korvane {

SendToDeviceButton::SendToDeviceButton(AppState &state, QWidget *parent)
    : QToolButton(parent)
    , m_state(state)
    , m_progress(new ProgressIndicator(16, this))
{
    setObjectName(QStringLiteral("arrow.up.doc"));
    setAccessibleName(tr("Send to Device"));
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
    connect(this, &QToolButton::clicked, this,
            [this] { m_state.boardDocuments().sendCurrentFileToDevice(); });
    connect(&state.documents(), &OpenFiles::selectedFileChanged, this,
            &SendToDeviceButton::showHelp);
    connect(&state.documents(), &OpenFiles::fileChanged, this, &SendToDeviceButton::showHelp);
    connect(&state.link(), &DeviceLink::connectionStateChanged, this,
            &SendToDeviceButton::showHelp);
    connect(&state.transfer(), &TransferStatus::isSendingToDeviceChanged, this,
            &SendToDeviceButton::showSending);
    showHelp();
    showSending();
}

void SendToDeviceButton::resizeEvent(QResizeEvent *event)
{
    QToolButton::resizeEvent(event);
    m_progress->move(rect().center() - m_progress->rect().center());
}

void SendToDeviceButton::showHelp()
{
    const EditorFile *file = m_state.documents().selectedFile();
    const QString help = m_state.link().connectionState().isConnected() && file
        ? KeyText::rendered(tr("Send %1 to device (⌘U)")).arg(file->name())
        : tr("Connect a device to send files");
    setToolTip(PlainText::toolTip(help));
    setAccessibleDescription(VisibleText::line(help));
}

void SendToDeviceButton::showSending()
{
    const bool isSending = m_state.transfer().isSendingToDevice();
    setIcon(isSending ? QIcon() : Icons::icon(QStringLiteral("arrow.up.doc")));
    m_progress->setVisible(isSending);
}

} // namespace Korvane
