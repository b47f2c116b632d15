#include "ui/browser/FileRowDelegate.h"

#include "theme/Theme.h"
#include "ui/browser/FileListModel.h"
#include "ui/controls/PlainText.h"

#include <QApplication>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QToolTip>

#include <utility>

namespace Korvane {

namespace {

constexpr int margin = 8;
constexpr int gap = 6;
constexpr int iconSize = 16;

} // namespace

void FileRowDelegate::setNameProblem(std::function<QString(const QString &name)> problem)
{
    m_nameProblem = std::move(problem);
}

void FileRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                            const QModelIndex &index) const
{
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);

    // Without the focus, the style draws a selection in a color on which all text can be read.
    const bool isSelected = option.state & QStyle::State_Selected;
    const bool isVivid = isSelected && (option.state & QStyle::State_Active);
    const Theme &theme = Theme::of(option.palette);
    const QRect room = option.rect.adjusted(margin, 0, -margin, 0);
    const QRect iconRect(room.left(), room.center().y() - iconSize / 2, iconSize, iconSize);
    index.data(Qt::DecorationRole)
        .value<QIcon>()
        .paint(painter, iconRect, Qt::AlignCenter, isVivid ? QIcon::Selected : QIcon::Normal);

    const auto color = [&](Theme::Role role) {
        return theme.color(isVivid          ? Theme::Role::SelectedText
                               : isSelected ? Theme::Role::Label
                                            : role);
    };
    QRect nameRect = room.adjusted(iconSize + gap, 0, 0, 0);
    painter->save();
    if (!isSelected && option.state & QStyle::State_HasFocus) { // Ctrl and the arrow keys move it
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(theme.color(Theme::Role::Accent));
        painter->drawRoundedRect(QRectF(option.rect).adjusted(2.5, 1.5, -2.5, -1.5), 4, 4);
    }
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

QWidget *FileRowDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &,
                                       const QModelIndex &index) const
{
    auto *editor = new QLineEdit(parent);
    editor->setObjectName(editorName);
    editor->setAcceptDrops(false); // a file that is dropped with Shift would count as moved
    editor->setAccessibleName(tr("New name of %1").arg(index.data(Qt::DisplayRole).toString()));
    connect(editor, &QLineEdit::textEdited, editor, [editor] {
        QToolTip::hideText();
        editor->setAccessibleDescription({});
    });
    return editor;
}

void FileRowDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    static_cast<QLineEdit *>(editor)->setText(index.data(Qt::EditRole).toString());
}

void FileRowDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                           const QModelIndex &) const
{
    QRect room = option.rect;
    room.setLeft(room.left() + margin + iconSize);
    const int height = std::max(room.height(), editor->sizeHint().height());
    room.setTop(room.center().y() - height / 2);
    room.setHeight(height);
    editor->setGeometry(room);
}

bool FileRowDelegate::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusOut) {
        // Qt would commit the name that is being typed.
        switch (static_cast<QFocusEvent *>(event)->reason()) {
        case Qt::MouseFocusReason:
            break;                        // a click beside the field enters the name
        case Qt::ActiveWindowFocusReason: // such as a question of the assistant
        case Qt::PopupFocusReason:
            return false;
        default: // the field is hidden, or a command has moved the focus
            emit closeEditor(static_cast<QWidget *>(watched), RevertModelCache);
            return false;
        }
    }
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        const bool isEntered = key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Tab
            || key == Qt::Key_Backtab;
        if (isEntered && refuses(*static_cast<QLineEdit *>(watched)))
            return true;
    }
    return QStyledItemDelegate::eventFilter(watched, event);
}

/// Shows why the name in \p field cannot be used; false when it can, or was not changed.
bool FileRowDelegate::refuses(QLineEdit &field) const
{
    const QString reason =
        m_nameProblem && field.isModified() ? m_nameProblem(field.text()) : QString();
    field.setAccessibleDescription(reason);
    if (reason.isEmpty())
        return false;
    QToolTip::showText(field.mapToGlobal(QPoint(0, field.height() / 2)), PlainText::toolTip(reason),
                       &field);
    return true;
}

QSize FileRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    return {2 * margin + iconSize + gap, std::max(iconSize, option.fontMetrics.height()) + 8};
}

} // namespace Korvane
