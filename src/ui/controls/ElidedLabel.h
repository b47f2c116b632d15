#pragma once

#include <QWidget>

namespace Korvane {

/// One line of plain text that is shortened to the room there is. It asks for none, so a
/// layout needs a stretch factor for it.
class ElidedLabel final : public QWidget
{
    Q_OBJECT

public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget *parent = nullptr);

    /// Also what assistive programs read.
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
