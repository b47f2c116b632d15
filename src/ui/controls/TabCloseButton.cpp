#include "ui/controls/TabCloseButton.h"

#include "base/VisibleText.h"
#include "theme/Icons.h"
#include "ui/controls/PlainText.h"

#include <QStyleOptionToolButton>
#include <QStylePainter>

namespace Korvane {

namespace {

constexpr int side = 16;
constexpr int crossSize = 9;
constexpr qreal faint = 0.6;

} // namespace

TabCloseButton::TabCloseButton(const QString &documentName, QWidget *parent)
    : QToolButton(parent)
{
    const QString help = tr("Close %1").arg(documentName);
    setObjectName(QStringLiteral("closeTab"));
    setIcon(Icons::icon(QStringLiteral("xmark")));
    setToolTip(PlainText::toolTip(help));
    setAccessibleName(VisibleText::line(help));
    setAutoRaise(true);
    // Close has a shortcut; a focus stop in each tab would make the Tab order longer.
    setFocusPolicy(Qt::NoFocus);
    setFixedSize(side, side);
}

QSize TabCloseButton::sizeHint() const
{
    return {side, side};
}

void TabCloseButton::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    painter.drawPrimitive(QStyle::PE_PanelButtonTool, option);
    painter.setOpacity(underMouse() ? 1 : faint);
    const int margin = (side - crossSize) / 2;
    icon().paint(&painter, QRect(margin, margin, crossSize, crossSize));
}

} // namespace Korvane
