#include "ui/controls/WrappedLabel.h"

#include "base/VisibleText.h"
#include "ui/controls/PlainText.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace Korvane {

namespace {

constexpr int hintedCharacters = 40; // the width of the size hint, in average characters
constexpr int mostLines = 2;         // of a text that has a shorter form

} // namespace

WrappedLabel::WrappedLabel(const QString &text, Qt::Alignment alignment, QWidget *parent)
    : QLabel(parent)
    , m_alignment(alignment)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true); // sets heightForWidth in the size policy
    setText(text);
}

void WrappedLabel::setText(const QString &text, const QString &shorter)
{
    m_shorter = shorter;
    QLabel::setText(VisibleText::line(text));
    setToolTip(shorter.isEmpty() ? QString() : PlainText::toolTip(text));
}

QSize WrappedLabel::sizeHint() const
{
    const int width = std::min(fontMetrics().horizontalAdvance(text()) + 1,
                               fontMetrics().averageCharWidth() * hintedCharacters);
    return {width, heightForWidth(width)};
}

QSize WrappedLabel::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth(), fontMetrics().height()};
}

int WrappedLabel::heightForWidth(int width) const
{
    QTextLayout layout;
    return layOut(layout, width);
}

void WrappedLabel::paintEvent(QPaintEvent *)
{
    QTextLayout layout;
    const int height = layOut(layout, width());
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    layout.draw(&painter, QPointF(0, std::max(0, (this->height() - height) / 2)));
}

int WrappedLabel::layOut(QTextLayout &layout, int width) const
{
    const int height = breakLines(layout, text(), width);
    if (m_shorter.isEmpty() || layout.lineCount() <= mostLines)
        return height;
    const int shorterHeight = breakLines(layout, m_shorter, width);
    if (layout.lineCount() <= mostLines)
        return shorterHeight;
    const int lastStart = layout.lineAt(mostLines - 1).textStart();
    const QString last =
        fontMetrics().elidedText(m_shorter.sliced(lastStart), Qt::ElideRight, width);
    return breakLines(layout, m_shorter.first(lastStart) + last, width);
}

int WrappedLabel::breakLines(QTextLayout &layout, const QString &text, int width) const
{
    QTextOption option(m_alignment);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setText(text);
    layout.setFont(font());
    layout.setTextOption(option);
    qreal height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();
    return qCeil(height);
}

} // namespace Korvane
