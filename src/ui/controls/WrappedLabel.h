#pragma once

#include <QLabel>

class QTextLayout;

namespace Korvane {

/// A paragraph of plain text that is wrapped at any character when a word is longer than a line, so
/// that a long path does not widen the dialog. Control characters, line ends included, are shown as
/// symbols.
class WrappedLabel final : public QLabel
{
    Q_OBJECT

public:
    /// \p alignment is the horizontal one.
    explicit WrappedLabel(const QString &text = {}, Qt::Alignment alignment = Qt::AlignLeft,
                          QWidget *parent = nullptr);

    /// With an empty \p shorter, all lines of \p text are shown. Otherwise the tool tip has the
    /// whole of \p text, and when that needs more than two lines, \p shorter is shown instead,
    /// elided at the end of its second line.
    void setText(const QString &text, const QString &shorter = {});

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    /// Breaks what is shown into lines of \p width pixels. Returns the height of all of them.
    [[nodiscard]] int layOut(QTextLayout &layout, int width) const;
    [[nodiscard]] int breakLines(QTextLayout &layout, const QString &text, int width) const;

    Qt::Alignment m_alignment;
    QString m_shorter;
};

} // namespace Korvane
