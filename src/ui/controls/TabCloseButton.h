#pragma once

#include <QToolButton>

namespace Korvane {

/// Closes a tab: a faint cross at the tab's end, plain under the mouse.
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
