#pragma once

#include <QWidget>

namespace Korvane {

/// One line of plain text that is elided to the width of the widget. The size hint has a width of
/// 0, so a layout needs a stretch factor for it.
class ElidedLabel final : public QWidget
{
    Q_OBJECT

public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget *parent = nullptr);

    /// Shows \p text, with visible symbols for control characters, and sets it as the accessible
    /// name.
    void setText(const QString &text);
    [[nodiscard]] const QString &text() const { return m_text; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Qt::TextElideMode m_mode;
    QString m_text;
};

} // namespace Korvane
