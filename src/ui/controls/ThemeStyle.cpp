#include "ui/controls/ThemeStyle.h"

#include "theme/Icons.h"
#include "theme/Theme.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QStyleOption>

#include <algorithm>

namespace Korvane {

namespace {

constexpr qreal cornerRadius = 5;
constexpr int menuArrowWidth = 12;
constexpr int labelInset = 3; // added to the width of a button with a text
constexpr int labelShift = 7; // in front of the icon; Fusion has as much space after the text
constexpr int minimumHandleLength = 32;

bool hasWordsBesideIcon(const QStyleOption *option)
{
    const auto *button = qstyleoption_cast<const QStyleOptionToolButton *>(option);
    return button && button->toolButtonStyle == Qt::ToolButtonTextBesideIcon;
}

bool hasMenuArrow(const QStyleOption *option)
{
    return hasWordsBesideIcon(option)
        && (static_cast<const QStyleOptionToolButton *>(option)->features
            & QStyleOptionToolButton::HasMenu);
}

void drawMenuArrow(QPainter *painter, const QStyleOption *option)
{
    const QPointF middle(option->rect.right() - menuArrowWidth / 2.0 - 3,
                         option->rect.center().y() + 0.5);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(Theme::of(option->palette).color(Theme::Role::SecondaryLabel), 1.5,
                         Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->drawPolyline(QPolygonF{middle + QPointF(-3.5, -1.5), middle + QPointF(0, 2),
                                    middle + QPointF(3.5, -1.5)});
    painter->restore();
}

/// The rectangle of a scroll bar's handle. Scroll bars have no arrow buttons.
QRect scrollHandle(const QStyleOptionSlider &bar)
{
    const bool isHorizontal = bar.orientation == Qt::Horizontal;
    const int length = isHorizontal ? bar.rect.width() : bar.rect.height();
    const qint64 range = qint64{bar.maximum} - bar.minimum;
    const auto proportional =
        static_cast<int>(length * qint64{bar.pageStep} / (range + bar.pageStep));
    const int handle = std::min(std::max(proportional, minimumHandleLength), length);
    const int start = QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition,
                                                      length - handle, bar.upsideDown);
    return isHorizontal ? QRect(bar.rect.x() + start, bar.rect.y(), handle, bar.rect.height())
                        : QRect(bar.rect.x(), bar.rect.y() + start, bar.rect.width(), handle);
}

/// Whether the view of \p scrollBar has no background of its own, as the Shell's input has none: it
/// shows the color of the window.
bool isOnWindow(const QWidget *scrollBar)
{
    const QWidget *container = scrollBar ? scrollBar->parentWidget() : nullptr;
    const auto *area =
        container ? qobject_cast<const QAbstractScrollArea *>(container->parentWidget()) : nullptr;
    return area && !area->viewport()->autoFillBackground();
}

void drawScrollBar(QPainter *painter, const QStyleOptionSlider &bar, const QWidget *widget)
{
    const Theme &theme = Theme::of(bar.palette);
    painter->fillRect(bar.rect, isOnWindow(widget) ? bar.palette.window() : bar.palette.base());
    if (bar.maximum <= bar.minimum)
        return;
    const bool isHeld = (bar.activeSubControls & QStyle::SC_ScrollBarSlider)
        && (bar.state & (QStyle::State_MouseOver | QStyle::State_Sunken));
    QColor color = theme.color(isHeld ? Theme::Role::SecondaryLabel : Theme::Role::TertiaryLabel);
    color.setAlphaF(isHeld ? 1.0F : 0.65F);
    const QRectF handle = QRectF(scrollHandle(bar)).adjusted(3, 3, -3, -3);
    const qreal radius = std::min(handle.width(), handle.height()) / 2;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawRoundedRect(handle, radius, radius);
    painter->restore();
}

/// Draws the edge of a control in a theme of high contrast: Fusion derives edges from the color of
/// the window, and beside pure white or black they are hardly visible.
void drawEdge(QPainter *painter, const QStyleOption *option)
{
    const Theme &theme = Theme::of(option->palette);
    if (!theme.isHighContrast())
        return;
    const bool hasFocus = option->state & QStyle::State_HasFocus;
    const qreal width = hasFocus ? 2 : 1;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(
        QPen(theme.color(hasFocus ? Theme::Role::Accent : Theme::Role::Separator), width));
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(
        QRectF(option->rect).adjusted(width / 2, width / 2, -width / 2, -width / 2), 2, 2);
    painter->restore();
}

/// Whether \p option is a selected row of a view that can have the focus, but doesn't have it.
bool isFadedSelection(const QStyleOption *option, const QWidget *view)
{
    return (option->state & QStyle::State_Selected) && !(option->state & QStyle::State_Active)
        && view && view->focusPolicy() != Qt::NoFocus;
}

} // namespace

ThemeStyle::ThemeStyle()
    : QProxyStyle(QStringLiteral("Fusion"))
{
}

void ThemeStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option,
                               QPainter *painter, const QWidget *widget) const
{
    const Theme &theme = Theme::of(option->palette);
    switch (element) {
    case PE_PanelButtonTool: {
        const bool isOver = option->state & State_MouseOver;
        const Theme::Role role = option->state & State_Sunken ? Theme::Role::Pressed
            : option->state & State_On                        ? Theme::Role::AccentTint
                                                              : Theme::Role::Hover;
        if (role == Theme::Role::Hover && !isOver)
            return;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const bool hasEdge = theme.isHighContrast() && role == Theme::Role::AccentTint;
        const qreal inset = hasEdge ? 0.5 : 0;
        painter->setPen(hasEdge ? QPen(theme.color(Theme::Role::Accent)) : QPen(Qt::NoPen));
        painter->setBrush(theme.color(role));
        painter->drawRoundedRect(QRectF(option->rect).adjusted(inset, inset, -inset, -inset),
                                 cornerRadius, cornerRadius);
        painter->restore();
        return;
    }
    case PE_FrameLineEdit:
    case PE_PanelButtonCommand:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        drawEdge(painter, option);
        return;
    case PE_PanelItemViewItem:
    case PE_PanelItemViewRow:
        if (!isFadedSelection(option, widget))
            break;
        painter->fillRect(option->rect, theme.color(Theme::Role::Pressed));
        return;
    case PE_PanelScrollAreaCorner:
        painter->fillRect(option->rect, option->palette.base());
        return;
    case PE_PanelTipLabel:
        painter->fillRect(option->rect, theme.color(Theme::Role::Separator));
        painter->fillRect(option->rect.adjusted(1, 1, -1, -1),
                          option->palette.brush(QPalette::ToolTipBase));
        return;
    // In a dark theme Fusion's edges of menus and of check boxes are not visible.
    case PE_PanelMenu:
        painter->fillRect(option->rect, theme.color(Theme::Role::Separator));
        painter->fillRect(option->rect.adjusted(1, 1, -1, -1),
                          theme.color(Theme::Role::WindowBackground));
        return;
    case PE_FrameMenu: // PE_PanelMenu draws it
        return;
    case PE_IndicatorCheckBox:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(theme.color(Theme::Role::TertiaryLabel));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
        painter->restore();
        return;
    case PE_FrameFocusRect:
        if (qobject_cast<const QAbstractItemView *>(widget))
            break;
        if (!(option->state & State_KeyboardFocusChange)) // the mouse was used last
            return;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(theme.color(Theme::Role::Accent), 2));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(option->rect).adjusted(-1, -1, 1, 1), cornerRadius - 1,
                                 cornerRadius - 1);
        painter->restore();
        return;
    default:
        break;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void ThemeStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                             const QWidget *widget) const
{
    const Theme &theme = Theme::of(option->palette);
    if (element == CE_ToolBar) {
        painter->fillRect(option->rect, option->palette.window());
        painter->fillRect(
            QRect(option->rect.left(), option->rect.bottom(), option->rect.width(), 1),
            theme.color(Theme::Role::Separator));
        return;
    }
    if (element == CE_Splitter) {
        // A line in the middle of the area that can be dragged.
        QRect line = option->rect;
        if (option->state & State_Horizontal)
            line.adjust(line.width() / 2, 0, -(line.width() - 1) / 2, 0);
        else
            line.adjust(0, line.height() / 2, 0, -(line.height() - 1) / 2);
        painter->fillRect(option->rect, option->palette.window());
        painter->fillRect(line, theme.color(Theme::Role::Separator));
        return;
    }
    if (element == CE_HeaderSection) {
        painter->fillRect(option->rect, option->palette.window());
        const QRect &rect = option->rect;
        painter->fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1),
                          theme.color(Theme::Role::Separator));
        painter->fillRect(QRect(rect.right(), rect.top() + 4, 1, rect.height() - 8),
                          theme.color(Theme::Role::Separator));
        return;
    }
    if (element == CE_ItemViewItem && isFadedSelection(option, widget)) {
        QStyleOptionViewItem faded(*static_cast<const QStyleOptionViewItem *>(option));
        faded.state &= ~State_Selected; // gives the icon the color that it has in other rows
        // The secondary color of a column cannot be read on this background.
        faded.palette.setColor(QPalette::Text, theme.color(Theme::Role::Label));
        painter->fillRect(option->rect, theme.color(Theme::Role::Pressed));
        QProxyStyle::drawControl(element, &faded, painter, widget);
        return;
    }
    if (element == CE_ToolButtonLabel && hasWordsBesideIcon(option)) {
        // Fusion leaves space after the text; this leaves as much in front of the icon.
        QStyleOptionToolButton moved(*static_cast<const QStyleOptionToolButton *>(option));
        moved.rect.adjust(labelShift, 0, 0, 0);
        QProxyStyle::drawControl(element, &moved, painter, widget);
        return;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void ThemeStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                                    QPainter *painter, const QWidget *widget) const
{
    if (control == CC_ToolButton && hasMenuArrow(option)) {
        QStyleOptionToolButton plain(*static_cast<const QStyleOptionToolButton *>(option));
        plain.features &= ~QStyleOptionToolButton::HasMenu;
        QProxyStyle::drawComplexControl(control, &plain, painter, widget);
        drawMenuArrow(painter, option);
        return;
    }
    if (control == CC_ScrollBar) {
        drawScrollBar(painter, *static_cast<const QStyleOptionSlider *>(option), widget);
        return;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
    if (control == CC_SpinBox)
        drawEdge(painter, option);
}

QRect ThemeStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                                 SubControl part, const QWidget *widget) const
{
    if (control != CC_ScrollBar)
        return QProxyStyle::subControlRect(control, option, part, widget);
    const auto &bar = *static_cast<const QStyleOptionSlider *>(option);
    const QRect handle = scrollHandle(bar);
    const bool isHorizontal = bar.orientation == Qt::Horizontal;
    QRect rect = bar.rect;
    switch (part) {
    case SC_ScrollBarGroove:
        break;
    case SC_ScrollBarSlider:
        rect = handle;
        break;
    case SC_ScrollBarSubPage:
        isHorizontal ? rect.setRight(handle.left() - 1) : rect.setBottom(handle.top() - 1);
        break;
    case SC_ScrollBarAddPage:
        isHorizontal ? rect.setLeft(handle.right() + 1) : rect.setTop(handle.bottom() + 1);
        break;
    default:
        return {};
    }
    return visualRect(bar.direction, bar.rect, rect);
}

QSize ThemeStyle::sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                                   const QWidget *widget) const
{
    QSize result = QProxyStyle::sizeFromContents(type, option, size, widget);
    if (type == CT_ToolButton) {
        if (hasWordsBesideIcon(option))
            result.rwidth() += labelInset;
        if (hasMenuArrow(option))
            result.rwidth() += menuArrowWidth;
    }
    return result;
}

int ThemeStyle::pixelMetric(PixelMetric metric, const QStyleOption *option,
                            const QWidget *widget) const
{
    switch (metric) {
    case PM_SplitterWidth:
        return 5;
    case PM_ToolBarIconSize:
        return 20;
    case PM_ToolBarItemSpacing:
    case PM_ToolBarItemMargin:
        return 4;
    case PM_ScrollBarExtent:
        return 12;
    case PM_ScrollView_ScrollBarSpacing:
    case PM_ScrollView_ScrollBarOverlap:
        return 0;
    case PM_HeaderMargin:
        return 7;
    case PM_FocusFrameHMargin: // the space on both sides of a cell's text
        return qobject_cast<const QAbstractItemView *>(widget)
            ? 6
            : QProxyStyle::pixelMetric(metric, option, widget);
    case PM_TabBarTabShiftVertical: // the selected tab does not move
        return 0;
    case PM_ToolBarFrameWidth:
        return 1;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int ThemeStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                          QStyleHintReturn *returnData) const
{
    // Both hints differ between desktops, and the platform theme would decide them.
    if (hint == SH_DialogButtonBox_ButtonsHaveIcons)
        return 0; // no other push button of the program has an icon
    if (hint == SH_ItemView_ChangeHighlightOnFocus)
        return 0;
    return QProxyStyle::styleHint(hint, option, widget, returnData);
}

QIcon ThemeStyle::standardIcon(StandardPixmap icon, const QStyleOption *option,
                               const QWidget *widget) const
{
    switch (icon) { // of file dialogs, questions, and menu bars and toolbars that are too narrow
    case SP_MessageBoxWarning:
        return Icons::icon(QStringLiteral("exclamationmark.triangle"), Theme::Role::Orange);
    case SP_ArrowBack:
        return Icons::icon(QStringLiteral("chevron.left"));
    case SP_ArrowForward:
    case SP_ToolBarHorizontalExtensionButton:
        return Icons::icon(QStringLiteral("chevron.right"));
    case SP_FileDialogToParent:
        return Icons::icon(QStringLiteral("chevron.up"));
    case SP_FileDialogNewFolder:
        return Icons::icon(QStringLiteral("folder.badge.plus"));
    case SP_FileDialogListView:
        return Icons::icon(QStringLiteral("list.bullet"));
    case SP_FileDialogDetailedView:
        return Icons::icon(QStringLiteral("tablecells"));
    case SP_ComputerIcon:
        return Icons::icon(QStringLiteral("laptopcomputer"), Theme::Role::SecondaryLabel);
    case SP_DirIcon:
    case SP_DirOpenIcon:
    case SP_DirClosedIcon:
    case SP_DirHomeIcon:
        return Icons::icon(QStringLiteral("folder"), Theme::Role::Accent);
    case SP_FileIcon:
        return Icons::icon(QStringLiteral("doc"), Theme::Role::SecondaryLabel);
    default:
        return QProxyStyle::standardIcon(icon, option, widget);
    }
}

} // namespace Korvane
