#pragma once

#include <QAccessibleWidget>
#include <QHash>

class QTabBar;

namespace Korvane {

/// How assistive programs see the strip of open files: a list of tabs under its own name, and then
/// the buttons in it. Qt's own takes the chosen tab's name for the whole strip's and
/// leaves the close buttons out.
class AccessibleTabStrip final : public QAccessibleWidget
{
public:
    explicit AccessibleTabStrip(QTabBar *strip);
    ~AccessibleTabStrip() override;

    [[nodiscard]] QString text(QAccessible::Text type) const override;
    [[nodiscard]] int childCount() const override;
    /// The tabs in their order, then the buttons.
    [[nodiscard]] QAccessibleInterface *child(int index) const override;
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override;
    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override;

private:
    class Tab;

    [[nodiscard]] QTabBar *strip() const;
    [[nodiscard]] QList<QWidget *> buttons() const;

    mutable QHash<int, QAccessible::Id> m_tabs;
};

} // namespace Korvane
