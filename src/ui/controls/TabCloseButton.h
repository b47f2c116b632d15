#pragma once

#include <QToolButton>

namespace Korvane {

/// The close button at the end of a tab: a translucent cross, opaque under the mouse. The owner
/// closes the tab.
class TabCloseButton final : public QToolButton
{
    Q_OBJECT

public:
    explicit TabCloseButton(const QString &documentName, QWidget *parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Korvane
