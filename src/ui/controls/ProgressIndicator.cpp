#include "ui/controls/ProgressIndicator.h"

#include "theme/Theme.h"

#include <QPainter>
#include <QStyle>
#include <QTimerEvent>

namespace Korvane {

namespace {

constexpr int spokes = 8;
constexpr int stepMilliseconds = 100;

} // namespace

ProgressIndicator::ProgressIndicator(int size, QWidget *parent)
    : QWidget(parent)
{
    setFixedSize(size, size);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void ProgressIndicator::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal radius = width() / 2.0;
    painter.translate(radius, radius);
    QColor color = Theme::of(palette()).color(Theme::Role::SecondaryLabel);
    for (int spoke = 0; spoke < spokes; ++spoke) {
        const int age = (m_step - spoke + spokes) % spokes;
        color.setAlphaF(1.0F - 0.8F * static_cast<float>(age) / (spokes - 1));
        painter.setPen(QPen(color, radius / 4.5, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.85));
        painter.rotate(360.0 / spokes);
    }
}

void ProgressIndicator::showEvent(QShowEvent *)
{
    // 0 when the desktop's animations are switched off.
    if (style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0)
        m_timer.start(stepMilliseconds, this);
}

void ProgressIndicator::hideEvent(QHideEvent *)
{
    m_timer.stop();
}

void ProgressIndicator::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_timer.timerId())
        return;
    m_step = (m_step + 1) % spokes;
    update();
}

} // namespace Korvane
