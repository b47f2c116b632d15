#include "ui/Accessibility.h"

#include "ui/AccessibleTabStrip.h"
#include "ui/Announcer.h"
#include "ui/DeviceConnectButton.h"
#include "ui/EditorTabStrip.h"
#include "ui/ElidedLabel.h"
#include "ui/PaneTab.h"

#include <QAccessibleWidget>
#include <QMenu>

namespace Korvane::Accessibility {

namespace {

/// The toolkit shows a menu only below a menu bar. Whoever goes through the window's controls from
/// the top would never find the ports.
class ConnectButton final : public QAccessibleWidget
{
public:
    explicit ConnectButton(DeviceConnectButton *button)
        : QAccessibleWidget(button, QAccessible::PushButton)
        , m_button(button)
    {
    }

    QAccessible::Role role() const override
    {
        return m_button->menu() ? QAccessible::ButtonMenu : QAccessible::PushButton;
    }
    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.hasPopup = m_button->menu() != nullptr;
        return state;
    }
    QString text(QAccessible::Text type) const override
    {
        return type == QAccessible::Name ? m_button->text() : QAccessibleWidget::text(type);
    }
    int childCount() const override { return m_button->menu() ? 1 : 0; }
    QAccessibleInterface *child(int index) const override
    {
        QMenu *menu = m_button->menu();
        return index == 0 && menu ? QAccessible::queryAccessibleInterface(menu) : nullptr;
    }
    int indexOfChild(const QAccessibleInterface *child) const override
    {
        return m_button->menu() && child->object() == m_button->menu() ? 0 : -1;
    }
    QStringList actionNames() const override
    {
        return QStringList{pressAction()} + QAccessibleWidget::actionNames();
    }
    void doAction(const QString &name) override
    {
        if (name != pressAction())
            QAccessibleWidget::doAction(name);
        else // later: an open menu returns only when it is closed, and the asker waits meanwhile
            QMetaObject::invokeMethod(
                m_button, m_button->menu() ? &QToolButton::showMenu : &QToolButton::click,
                Qt::QueuedConnection);
    }

private:
    DeviceConnectButton *m_button;
};

/// For the toolkit a check box, which would promise that it can be taken back.
class PaneTabInterface final : public QAccessibleWidget
{
public:
    explicit PaneTabInterface(PaneTab *tab)
        : QAccessibleWidget(tab, QAccessible::RadioButton)
        , m_tab(tab)
    {
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = m_tab->isChecked();
        return state;
    }
    QString text(QAccessible::Text type) const override
    {
        return type == QAccessible::Name ? m_tab->text() : QAccessibleWidget::text(type);
    }
    QStringList actionNames() const override
    {
        return QStringList{pressAction()} + QAccessibleWidget::actionNames();
    }
    void doAction(const QString &name) override
    {
        if (name == pressAction())
            m_tab->click();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    PaneTab *m_tab;
};

QAccessibleInterface *makeInterface(const QString &, QObject *object)
{
    if (auto *button = qobject_cast<DeviceConnectButton *>(object))
        return new ConnectButton(button);
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
