#include "ui/controls/AccessibleTabStrip.h"

#include <QTabBar>
#include <QToolButton>

namespace Korvane {

/// The tab that has \p index at the time of a call, whichever document it shows.
class AccessibleTabStrip::Tab final : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    Tab(QTabBar *strip, int index)
        : m_strip(strip)
        , m_index(index)
    {
    }

    [[nodiscard]] int index() const { return m_index; }

    bool isValid() const override { return m_index < m_strip->count(); }
    QObject *object() const override { return nullptr; }
    QAccessible::Role role() const override { return QAccessible::PageTab; }
    QAccessible::State state() const override
    {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        const bool isCurrent = m_strip->currentIndex() == m_index;
        state.selectable = true;
        state.selected = isCurrent;
        state.focusable = true;
        state.focused = isCurrent && m_strip->hasFocus();
        state.invisible = !m_strip->isVisible();
        state.offscreen = !m_strip->rect().intersects(m_strip->tabRect(m_index));
        return state;
    }
    QString text(QAccessible::Text type) const override
    {
        if (type == QAccessible::Name)
            return m_strip->accessibleTabName(m_index);
        return type == QAccessible::Description ? m_strip->tabToolTip(m_index) : QString();
    }
    void setText(QAccessible::Text, const QString &) override { }
    QRect rect() const override
    {
        const QRect tab = m_strip->tabRect(m_index);
        return {m_strip->mapToGlobal(tab.topLeft()), tab.size()};
    }
    QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_strip);
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }
    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface
            ? static_cast<QAccessibleActionInterface *>(this)
            : nullptr;
    }

    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString &name) override
    {
        if (name == pressAction())
            m_strip->setCurrentIndex(m_index);
    }
    QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
    QTabBar *m_strip;
    int m_index;
};

AccessibleTabStrip::AccessibleTabStrip(QTabBar *strip)
    : QAccessibleWidget(strip, QAccessible::PageTabList)
{
}

AccessibleTabStrip::~AccessibleTabStrip()
{
    for (const QAccessible::Id id : std::as_const(m_tabs))
        QAccessible::deleteAccessibleInterface(id);
}

QTabBar *AccessibleTabStrip::strip() const
{
    return static_cast<QTabBar *>(widget());
}

QList<QWidget *> AccessibleTabStrip::buttons() const
{
    QList<QWidget *> buttons;
    for (int tab = 0; tab < strip()->count(); ++tab) {
        if (auto *close = qobject_cast<QToolButton *>(strip()->tabButton(tab, QTabBar::RightSide)))
            buttons << close;
    }
    // The scroll buttons, which are visible when the tabs do not fit.
    for (QToolButton *button : strip()->findChildren<QToolButton *>(Qt::FindDirectChildrenOnly)) {
        if (button->isVisible() && !buttons.contains(button))
            buttons << button;
    }
    return buttons;
}

QString AccessibleTabStrip::text(QAccessible::Text type) const
{
    return type == QAccessible::Name ? strip()->accessibleName() : QAccessibleWidget::text(type);
}

int AccessibleTabStrip::childCount() const
{
    return strip()->count() + static_cast<int>(buttons().size());
}

QAccessibleInterface *AccessibleTabStrip::child(int index) const
{
    const int tabs = strip()->count();
    if (index < 0 || index >= childCount())
        return nullptr;
    if (index >= tabs)
        return QAccessible::queryAccessibleInterface(buttons()[index - tabs]);
    if (!m_tabs.contains(index)) {
        auto *tab = new Tab(strip(), index);
        m_tabs.insert(index, QAccessible::registerAccessibleInterface(tab));
    }
    return QAccessible::accessibleInterface(m_tabs.value(index));
}

int AccessibleTabStrip::indexOfChild(const QAccessibleInterface *child) const
{
    if (const auto *tab = dynamic_cast<const Tab *>(child))
        return tab->index();
    const auto button = buttons().indexOf(qobject_cast<QWidget *>(child->object()));
    return button < 0 ? -1 : strip()->count() + static_cast<int>(button);
}

QAccessibleInterface *AccessibleTabStrip::childAt(int x, int y) const
{
    for (int index = childCount() - 1; index >= 0; --index) { // a close button covers its tab
        QAccessibleInterface *found = child(index);
        if (found->rect().contains(x, y))
            return found;
    }
    return nullptr;
}

} // namespace Korvane
