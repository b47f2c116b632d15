#include "ui/dialogs/InputGuard.h"

#include <QCoreApplication>
#include <QDialog>
#include <QEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QWindow>

#include <utility>

namespace Korvane {

namespace {

bool isInput(const QEvent &event)
{
    switch (event.type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
        return true;
    case QEvent::Close:
        return event.spontaneous(); // a click on the frame's close button
    default:
        return false;
    }
}

} // namespace

InputGuard::InputGuard(QDialog &dialog, std::chrono::milliseconds time)
    : QObject(&dialog)
    , m_dialog(dialog)
    , m_time(time)
{
    dialog.installEventFilter(this);
}

bool InputGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == &m_dialog && event->type() == QEvent::Show) {
        begin();
    } else if (watched == &m_dialog && event->type() == QEvent::Paint && m_state == State::Waiting
               && m_dialog.windowHandle()->isExposed()) {
        m_state = State::Painted;
        const int round = m_round;
        const auto endRound = [this, round] {
            if (round == m_round)
                end();
        };
        // Input that arrived while the main thread was busy may be delivered after the first timer.
        QTimer::singleShot(m_time, this,
                           [this, endRound] { QTimer::singleShot(0, this, endRound); });
    } else if (m_state != State::Open && isInput(*event) && isOfDialog(watched)
               && !isTyping(*event)) {
        event->ignore();
        return true;
    }
    return false;
}

bool InputGuard::isOfDialog(const QObject *watched) const
{
    if (watched->isWidgetType())
        return static_cast<const QWidget *>(watched)->window() == &m_dialog;
    return watched == m_dialog.windowHandle();
}

bool InputGuard::isTyping(const QEvent &event) const
{
    if (event.type() != QEvent::KeyPress && event.type() != QEvent::KeyRelease)
        return false;
    const int key = static_cast<const QKeyEvent &>(event).key();
    return qobject_cast<QLineEdit *>(m_dialog.focusWidget()) && key != Qt::Key_Return
        && key != Qt::Key_Enter && key != Qt::Key_Escape;
}

void InputGuard::begin()
{
    ++m_round;
    m_dialog.update(); // so that a paint follows
    if (std::exchange(m_state, State::Waiting) != State::Open)
        return;
    QCoreApplication::instance()->installEventFilter(this);
    m_focused = m_dialog.focusWidget();
    for (QPushButton *button : m_dialog.findChildren<QPushButton *>()) {
        if (!button->isEnabled())
            continue;
        button->setEnabled(false);
        m_disabled << button;
    }
}

void InputGuard::end()
{
    m_state = State::Open;
    QCoreApplication::instance()->removeEventFilter(this);
    for (const auto &button : std::as_const(m_disabled)) {
        if (button)
            button->setEnabled(true);
    }
    m_disabled.clear();
    if (m_focused)
        m_focused->setFocus();
}

} // namespace Korvane
