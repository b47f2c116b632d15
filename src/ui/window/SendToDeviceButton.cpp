#include "ui/window/SendToDeviceButton.h"

#include "app/AppState.h"
#include "theme/Icons.h"
#include "ui/controls/ProgressIndicator.h"

#include <QAction>
#include <QStyleOptionToolButton>

namespace Korvane {

SendToDeviceButton::SendToDeviceButton(AppState &state, QAction &action, QWidget *parent)
    : QToolButton(parent)
    , m_state(state)
    , m_action(action)
    , m_progress(new ProgressIndicator(16, this))
{
    setDefaultAction(&action);
    setObjectName(action.objectName());
    setAccessibleName(action.iconText());
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
    connect(&state.transfer(), &TransferStatus::isSendingToDeviceChanged, this,
            &SendToDeviceButton::showSending);
    showSending();
}

void SendToDeviceButton::resizeEvent(QResizeEvent *event)
{
    QToolButton::resizeEvent(event);
    m_progress->move(rect().center() - m_progress->rect().center());
}

void SendToDeviceButton::initStyleOption(QStyleOptionToolButton *option) const
{
    QToolButton::initStyleOption(option);
    option->text.clear();
    option->toolButtonStyle = Qt::ToolButtonIconOnly;
}

void SendToDeviceButton::showSending()
{
    const bool isSending = m_state.transfer().isSendingToDevice();
    // Menus show no icons, so only this button shows that of the action.
    m_action.setIcon(isSending ? QIcon() : Icons::icon(m_action.objectName()));
    m_progress->setVisible(isSending);
}

} // namespace Korvane
