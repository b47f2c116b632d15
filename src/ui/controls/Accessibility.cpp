#include "ui/controls/Accessibility.h"

#include "ui/controls/AccessibleTabStrip.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/PaneTab.h"
#include "ui/window/Announcer.h"
#include "ui/window/DeviceConnectButton.h"
#include "ui/window/EditorTabStrip.h"

#include <QAccessibleWidget>
#include <QMenu>

namespace Korvane::Accessibility {

namespace {

/// A button whose accessible name is its text, with an action that presses it.
class ButtonInterface : public QAccessibleWidget
{
public:
    ButtonInterface(QToolButton *button, QAccessible::Role role)
        : QAccessibleWidget(button, role)
        , m_button(button)
    {
    }

    QString text(QAccessible::Text type) const override
    {
        return type == QAccessible::Name ? m_button->text() : QAccessibleWidget::text(type);
    }
    QStringList actionNames() const override
    {
        return QStringList{pressAction()} + QAccessibleWidget::actionNames();
    }
    void doAction(const QString &name) override
    {
        if (name != pressAction())
            QAccessibleWidget::doAction(name);
        else // queued: showMenu() returns when the menu is closed, and would block the caller
            QMetaObject::invokeMethod(
                m_button, m_button->menu() ? &QToolButton::showMenu : &QToolButton::click,
                Qt::QueuedConnection);
    }

protected:
    [[nodiscard]] QToolButton &button() const { return *m_button; }

private:
    QToolButton *m_button;
};

/// Has the menu of the ports as its child. Qt exposes a menu only below a menu bar, so assistive
/// programs that list the controls of the window would not find the ports.
class ConnectButtonInterface final : public ButtonInterface
{
public:
    explicit ConnectButtonInterface(DeviceConnectButton *button)
        : ButtonInterface(button, QAccessible::PushButton)
    {
    }

    QAccessible::Role role() const override
    {
        return button().menu() ? QAccessible::ButtonMenu : QAccessible::PushButton;
    }
    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = button().menu() != nullptr;
        return state;
    }
    int childCount() const override { return button().menu() ? 1 : 0; }
    QAccessibleInterface *child(int index) const override
    {
        QMenu *menu = button().menu();
        return index == 0 && menu ? QAccessible::queryAccessibleInterface(menu) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        return button().menu() && child->object() == button().menu() ? 0 : -1;
    }
};

/// A radio button. Qt would report a check box, which could be unchecked.
class PaneTabInterface final : public ButtonInterface
{
public:
    explicit PaneTabInterface(PaneTab *tab)
        : ButtonInterface(tab, QAccessible::RadioButton)
    {
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = button().isChecked();
        return state;
    }
};

QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    if (auto *button = qobject_cast<DeviceConnectButton *>(object))
        return new ConnectButtonInterface(button);
    if (auto *strip = qobject_cast<EditorTabStrip *>(object))
        return new AccessibleTabStrip(strip);
    if (auto *tab = qobject_cast<PaneTab *>(object))
        return new PaneTabInterface(tab);
    if (auto *label = qobject_cast<ElidedLabel *>(object))
        return new QAccessibleWidget(label, QAccessible::StaticText);
    if (auto *announcer = qobject_cast<Announcer *>(object))
        return new QAccessibleWidget(announcer, QAccessible::Notification);
    return nullptr;
}

} // namespace

void install()
{
    QAccessible::installFactory(&makeInterface);
}

} // namespace Korvane::Accessibility
