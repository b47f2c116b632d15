#include "ui/controls/PaneTab.h"

#include <QStyleOptionToolButton>
#include <QStylePainter>

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

void PaneTab::setSemiboldWhenChecked()
{
    // Semibold text is up to a sixth wider. It is not measured: that would load the font before the
    // window is shown.
    constexpr int padding = 20;
    setMinimumWidth(fontMetrics().horizontalAdvance(text()) * 7 / 6 + padding);
    m_isSemiboldWhenChecked = true;
}

void PaneTab::setMark(const QString &description, Theme::Role color)
{
    setAccessibleDescription(description);
    m_markColor = color;
    update();
}

void PaneTab::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    if (m_isSemiboldWhenChecked && isChecked()) {
        option.font = Theme::headlineFont(font());
        option.fontMetrics = QFontMetrics(option.font);
    }
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
    if (!hasMark())
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::of(palette()).color(m_markColor));
    painter.drawEllipse(width() - markSize - markMargin, markMargin, markSize, markSize);
}

} // namespace Korvane
