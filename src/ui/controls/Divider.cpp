#include "ui/controls/Divider.h"

#include "theme/Theme.h"

#include <QPainter>

namespace Korvane {

Divider::Divider(QWidget *parent)
    : QWidget(parent)
{
    setFixedHeight(1);
}

void Divider::paintEvent(QPaintEvent *)
{
    QPainter(this).fillRect(rect(), Theme::of(palette()).color(Theme::Role::Separator));
}

} // namespace Korvane
