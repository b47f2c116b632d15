#pragma once

#include <QAccessibleWidget>
#include <QHash>

class QTabBar;

namespace Korvane {

/// The accessible interface of EditorTabStrip: a list of tabs with the name of the strip, followed
/// by its buttons. Qt's interface gives the strip the name of the selected tab and omits the close
/// buttons.
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
