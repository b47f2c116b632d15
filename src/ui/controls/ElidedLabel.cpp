#include "ui/controls/ElidedLabel.h"

#include "base/VisibleText.h"

#include <QPainter>

namespace Korvane {

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget *parent)
    : QWidget(parent)
    , m_mode(mode)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void ElidedLabel::setText(const QString &text)
{
    m_text = VisibleText::line(text);
    setAccessibleName(m_text);
    update();
}

QSize ElidedLabel::sizeHint() const
{
    // A font has the same height in all weights. The others are loaded only to paint them, which is
    // after the window is shown.
    QFont regular = font();
    regular.setWeight(QFont::Normal);
    return {0, QFontMetrics(regular).height()};
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(m_text, m_mode, width()));
}

} // namespace Korvane
