#include "ui/SendToDeviceButton.h"

#include "app/AppState.h"
#include "ui/Icons.h"
#include "ui/KeyText.h"
#include "ui/PlainText.h"
#include "ui/ProgressIndicator.h"

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
    connect(&state.documents(), &Documents::selectedFileChanged, this,
            &SendToDeviceButton::showHelp);
    connect(&state.documents(), &Documents::fileChanged, this, &SendToDeviceButton::showHelp);
    connect(&state.link(), &DeviceLink::connectionStateChanged, this,
            &SendToDeviceButton::showHelp);
    connect(&state.transfer(), &Transfer::isSendingToDeviceChanged, this,
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
        ? KeyText::rendered(tr("Send %1 to device (⌘U)")).arg(file->name)
        : tr("Connect a device to send files");
    setToolTip(PlainText::toolTip(help));
    setAccessibleDescription(help);
}

void SendToDeviceButton::showSending()
{
    const bool isSending = m_state.transfer().isSendingToDevice();
    setIcon(isSending ? QIcon() : Icons::icon(QStringLiteral("arrow.up.doc")));
    m_progress->setVisible(isSending);
}

} // namespace Korvane
