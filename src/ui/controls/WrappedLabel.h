#pragma once

#include <QLabel>

class QTextLayout;

namespace Korvane {

/// A paragraph of plain text that is wrapped at any character when a word is longer than a line, so
/// that a long path makes no widget wider. Control characters, line ends included, are shown as
/// signs.
class WrappedLabel final : public QLabel
{
    Q_OBJECT

public:
    /// \p alignment is the horizontal one.
    explicit WrappedLabel(const QString &text = {}, Qt::Alignment alignment = Qt::AlignLeft,
                          QWidget *parent = nullptr);

    void setText(const QString &text);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    /// Breaks the text into lines of \p width pixels; the height of all of them.
    [[nodiscard]] int layOut(QTextLayout &layout, int width) const;

    Qt::Alignment m_alignment;
};

} // namespace Korvane
