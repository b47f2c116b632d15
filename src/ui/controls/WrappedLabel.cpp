#include "ui/controls/WrappedLabel.h"

#include "base/VisibleText.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace Korvane {

namespace {

constexpr int hintedCharacters = 40; // the width that is asked for, in average characters

} // namespace

WrappedLabel::WrappedLabel(const QString &text, Qt::Alignment alignment, QWidget *parent)
    : QLabel(parent)
    , m_alignment(alignment)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true); // gives it a height for its width
    setText(text);
}

void WrappedLabel::setText(const QString &text)
{
    QLabel::setText(VisibleText::line(text));
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
    QTextOption option(m_alignment);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setText(text());
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
