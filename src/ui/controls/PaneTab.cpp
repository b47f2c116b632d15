#include "ui/controls/PaneTab.h"

#include "theme/Theme.h"

#include <QPainter>

namespace Korvane {

namespace {

constexpr int markSize = 6;
constexpr int markMargin = 3;

} // namespace

PaneTab::PaneTab(const QString &title, QWidget *parent)
    : QToolButton(parent)
{
    setText(title);
    setCheckable(true);
    setAutoExclusive(true);
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
}

void PaneTab::setMark(const QString &description)
{
    setAccessibleDescription(description);
    update();
}

void PaneTab::paintEvent(QPaintEvent *event)
{
    QToolButton::paintEvent(event);
    if (accessibleDescription().isEmpty())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::of(palette()).color(Theme::Role::Red));
    painter.drawEllipse(width() - markSize - markMargin, markMargin, markSize, markSize);
}

} // namespace Korvane
