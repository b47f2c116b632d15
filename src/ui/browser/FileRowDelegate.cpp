#include "ui/browser/FileRowDelegate.h"

#include "theme/Theme.h"
#include "ui/browser/FileListModel.h"

#include <QApplication>
#include <QPainter>

namespace Korvane {

namespace {

constexpr int margin = 8;
constexpr int gap = 6;
constexpr int iconSize = 16;

} // namespace

void FileRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);

    const bool isSelected = option.state & QStyle::State_Selected;
    const Theme &theme = Theme::of(option.palette);
    const QRect room = option.rect.adjusted(margin, 0, -margin, 0);
    const QRect iconRect(room.left(), room.center().y() - iconSize / 2, iconSize, iconSize);
    index.data(Qt::DecorationRole)
        .value<QIcon>()
        .paint(painter, iconRect, Qt::AlignCenter, isSelected ? QIcon::Selected : QIcon::Normal);

    const auto color = [&](Theme::Role role) {
        return theme.color(isSelected ? Theme::Role::SelectedText : role);
    };
    QRect nameRect = room.adjusted(iconSize + gap, 0, 0, 0);
    painter->save();
    const QString size = index.data(FileListModel::SizeTextRole).toString();
    if (!size.isEmpty()) {
        const QFont caption = Theme::captionFont(option.font);
        const int width = QFontMetrics(caption).horizontalAdvance(size);
        painter->setFont(caption);
        painter->setPen(color(Theme::Role::SecondaryLabel));
        painter->drawText(room, Qt::AlignRight | Qt::AlignVCenter, size);
        nameRect.adjust(0, 0, -width - gap, 0);
    }
    painter->setFont(option.font);
    painter->setPen(color(Theme::Role::Label));
    painter->drawText(
        nameRect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        option.fontMetrics.elidedText(index.data().toString(), Qt::ElideMiddle, nameRect.width()));
    painter->restore();
}

QSize FileRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return {2 * margin + iconSize + gap, std::max(iconSize, option.fontMetrics.height()) + 8};
}

} // namespace Korvane
