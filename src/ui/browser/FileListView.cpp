#include "ui/browser/FileListView.h"

#include "theme/Theme.h"
#include "ui/browser/BrowserPane.h"
#include "ui/browser/FileRowDelegate.h"
#include "ui/controls/PlainText.h"

#include <QContextMenuEvent>
#include <QDrag>
#include <QFocusEvent>
#include <QHelpEvent>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <QSet>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace Korvane {

FileListView::FileListView(QWidget *parent)
    : QListView(parent)
    , m_delegate(new FileRowDelegate(this))
    , m_model(new FileListModel(this))
{
    setModel(m_model);
    setItemDelegate(m_delegate);
    setFrameShape(QFrame::NoFrame);
    setUniformItemSizes(true); // otherwise each of 20,000 entries would be measured
    setEditTriggers(NoEditTriggers);
    setSelectionMode(ExtendedSelection);
    setDragEnabled(true);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // long names are shortened
    connect(this, &QListView::doubleClicked, this,
            [this](const QModelIndex &index) { emit opened(index.row()); });
}

void FileListView::showRows(QList<FileListModel::Row> rows, const QString &folder)
{
    const bool isSameFolder = folder == m_folder;
    const QModelIndex current = currentIndex();
    if (current.isValid() || !isSameFolder) {
        m_currentName = current.isValid() ? m_model->rows().at(current.row()).name : QString();
        m_currentRow = current.row();
    }
    QSet<QString> selected;
    if (isSameFolder) {
        for (const int row : selectedRows())
            selected << m_model->rows().at(row).name;
    }
    const bool hadNoSelection = isSameFolder && current.isValid() && selected.isEmpty();
    const int scrolledTo = isSameFolder ? verticalScrollBar()->value() : 0;
    m_isShowing = true; // one signal at the end is enough
    m_dropRow = -1;
    m_model->setRows(std::move(rows));
    const int awaited = rowAt(m_pathToSelect, folder);
    const int row = awaited >= 0 ? awaited : rowToSelect(folder);
    m_folder = folder;
    doItemsLayout(); // now, so that the range to scroll in is the new one
    QItemSelection selection;
    for (int i = 0; i < m_model->rowCount() && awaited < 0; ++i) {
        if (selected.contains(m_model->rows().at(i).name))
            selection.select(m_model->index(i), m_model->index(i));
    }
    const bool keepsSelection = awaited < 0 && (!selection.isEmpty() || hadNoSelection);
    if (row >= 0 && !keepsSelection)
        setCurrentIndex(m_model->index(row));
    else if (row >= 0) // the current row need not be selected
        selectionModel()->setCurrentIndex(m_model->index(row), QItemSelectionModel::NoUpdate);
    if (keepsSelection)
        selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (awaited < 0 && (isSameFolder || row < 0))
        verticalScrollBar()->setValue(scrolledTo);
    if (awaited >= 0)
        m_pathToSelect.clear();
    m_isShowing = false;
    emit selectedRowsChanged();
}

void FileListView::selectEntry(const QString &path)
{
    const int row = rowAt(path, m_folder);
    // Another current row would end the editing of a name.
    if (row >= 0 && !isEditing())
        setCurrentIndex(m_model->index(row));
    else
        m_pathToSelect = path;
}

/// -1 when \p path is not an entry of \p folder.
int FileListView::rowAt(const QString &path, const QString &folder) const
{
    const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
    return path.startsWith(prefix) ? rowOf(path.sliced(prefix.size())) : -1;
}

int FileListView::rowOf(const QString &name) const
{
    const QList<FileListModel::Row> &rows = m_model->rows();
    const auto found = std::find_if(rows.cbegin(), rows.cend(),
                                    [&name](const auto &row) { return row.name == name; });
    return found == rows.cend() ? -1 : static_cast<int>(found - rows.cbegin());
}

int FileListView::rowToSelect(const QString &folder) const
{
    QString name;
    if (folder == m_folder) {
        name = m_currentName;
    } else {
        const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
        if (m_folder.startsWith(prefix))
            name = m_folder.sliced(prefix.size()).section(u'/', 0, 0);
    }
    const int found = name.isEmpty() ? -1 : rowOf(name);
    if (found >= 0)
        return found;
    const int last = m_model->rowCount() - 1;
    if (folder == m_folder)
        return std::min(m_currentRow, last); // the entry was deleted: its neighbor
    // Keyboard users continue from the first row.
    return hasFocus() ? std::min(0, last) : -1;
}

/// Gives the list a current row when the focus arrives by a key: without one, nothing in the list
/// would show the focus.
void FileListView::focusInEvent(QFocusEvent *event)
{
    QListView::focusInEvent(event);
    if (isEditing()) { // the focus was moved while another window was active
        indexWidget(currentIndex())->setFocus();
        return;
    }
    const Qt::FocusReason reason = event->reason();
    const bool isByKey = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
        || reason == Qt::OtherFocusReason;
    if (isByKey && m_model->rowCount() > 0 && !currentIndex().isValid())
        setCurrentIndex(m_model->index(0));
}

QList<int> FileListView::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : selectionModel()->selectedIndexes())
        rows << index.row();
    std::sort(rows.begin(), rows.end());
    return rows;
}

void FileListView::openMenu(QMenu *menu)
{
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(m_menuPosition);
}

void FileListView::editName()
{
    const QList<int> rows = selectedRows();
    if (rows.size() != 1 || !isVisible())
        return;
    const QModelIndex index = m_model->index(rows.first());
    setCurrentIndex(index);
    scrollTo(index);
    edit(index);
    // Qt selects the whole name. The extension, which is usually kept, is left out.
    auto *field = viewport()->findChild<QLineEdit *>(FileRowDelegate::editorName);
    const QString name = index.data(Qt::EditRole).toString();
    const qsizetype dot = name.lastIndexOf(u'.');
    if (field && dot > 0)
        field->setSelection(0, static_cast<int>(dot));
}

void FileListView::closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint)
{
    QListView::closeEditor(editor, hint);
    if (!isEditing()) // the Tab key begins to edit the next name
        emit editingEnded();
}

void FileListView::cancelEditing()
{
    if (isEditing())
        closeEditor(indexWidget(currentIndex()), QAbstractItemDelegate::RevertModelCache);
}

void FileListView::setNameProblem(std::function<QString(const QString &name)> problem)
{
    m_delegate->setNameProblem(std::move(problem));
}

void FileListView::setMakeDragData(std::function<std::unique_ptr<QMimeData>()> make)
{
    m_makeDragData = std::move(make);
}

void FileListView::startDrag(Qt::DropActions)
{
    std::unique_ptr<QMimeData> dragged = m_makeDragData ? m_makeDragData() : nullptr;
    if (!dragged)
        return;
    const QPointer<FileListView> self = this;
    auto *drag = new QDrag(this);
    drag->setPixmap(dragPixmap());
    drag->setHotSpot(QPoint(-12, drag->pixmap().height() / 2));
    drag->setMimeData(dragged.release());
    // Qt offers no other way to start a drag than one that returns at its end.
    m_isDragSource = true;
    const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
    if (!self)
        return;
    m_isDragSource = false;
    if (action == Qt::MoveAction)
        emit moveDragFinished();
}

/// The symbol and the name of the dragged entry, or how many there are.
QPixmap FileListView::dragPixmap() const
{
    const QList<int> rows = selectedRows();
    if (rows.isEmpty())
        return {};
    const QModelIndex first = m_model->index(rows.first());
    const QString text =
        rows.size() == 1 ? first.data().toString() : tr("%1 items").arg(rows.size());
    const QString shown = fontMetrics().elidedText(text, Qt::ElideMiddle, 200);
    const QSize size(fontMetrics().horizontalAdvance(shown) + 38, fontMetrics().height() + 10);
    QPixmap pixmap(size * devicePixelRatioF());
    pixmap.setDevicePixelRatio(devicePixelRatioF());
    pixmap.fill(Qt::transparent);
    const Theme &theme = Theme::of(palette());
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme.color(Theme::Role::Separator));
    painter.setBrush(theme.color(Theme::Role::ControlBackground));
    painter.drawRoundedRect(QRectF(QPointF(0.5, 0.5), QSizeF(size) - QSizeF(1, 1)), 5, 5);
    first.data(Qt::DecorationRole)
        .value<QIcon>()
        .paint(&painter, QRect(8, (size.height() - 16) / 2, 16, 16));
    painter.setFont(font());
    painter.setPen(theme.color(Theme::Role::Label));
    painter.drawText(QRect(30, 0, size.width() - 30, size.height()), Qt::AlignVCenter, shown);
    return pixmap;
}

void FileListView::setDropRow(int row)
{
    if (std::exchange(m_dropRow, row) != row)
        viewport()->update();
}

void FileListView::paintEvent(QPaintEvent *event)
{
    QListView::paintEvent(event);
    if (m_dropRow < 0)
        return;
    const Theme &theme = Theme::of(palette());
    QPainter painter(viewport());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(theme.color(Theme::Role::Accent), 2));
    painter.drawRoundedRect(QRectF(visualRect(m_model->index(m_dropRow))).adjusted(2, 1, -2, -1), 4,
                            4);
}

void FileListView::selectionChanged(const QItemSelection &selected,
                                    const QItemSelection &deselected)
{
    QListView::selectionChanged(selected, deselected);
    if (!m_isShowing)
        emit selectedRowsChanged();
}

void FileListView::keyPressEvent(QKeyEvent *event)
{
    if (isEditing())
        return; // Return ends the editing of a name, and must not open the file, too
    const QModelIndex current = currentIndex();
    const bool isMenuKey = event->key() == Qt::Key_Menu
        || (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier);
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isMenuKey && current.isValid()) {
        scrollTo(current);
        const QRect row = visualRect(current);
        m_menuPosition = viewport()->mapToGlobal(QPoint(row.left() + 24, row.bottom()));
        emit menuRequested(current.row());
    } else if (isEnter && current.isValid()) {
        emit opened(current.row());
    } else if (event->matches(QKeySequence::Copy)) {
        copy();
    } else if (event->matches(QKeySequence::Cut)) {
        cut();
    } else if (event->matches(QKeySequence::Paste)) {
        paste();
    } else if (BrowserPane::isUpKey(*event)) {
        event->ignore(); // BrowserPane handles it
    } else {
        QListView::keyPressEvent(event);
    }
}

void FileListView::contextMenuEvent(QContextMenuEvent *event)
{
    // The menu key also causes a key press, on every platform.
    if (event->reason() != QContextMenuEvent::Mouse)
        return;
    m_menuPosition = event->globalPos();
    const QModelIndex index = indexAt(event->pos());
    if (index.isValid() && !selectionModel()->isSelected(index))
        setCurrentIndex(index);
    emit menuRequested(index.row());
}

bool FileListView::viewportEvent(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QListView::viewportEvent(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    const QModelIndex index = indexAt(help->pos());
    m_toolTipPosition = help->globalPos();
    if (index.isValid())
        emit toolTipRequested(index.row());
    else
        QToolTip::hideText();
    return true;
}

void FileListView::showToolTip(int row, const QString &text)
{
    const QPoint mouse = viewport()->mapFromGlobal(QCursor::pos());
    if (indexAt(viewport()->mapFromGlobal(m_toolTipPosition)).row() != row
        || !viewport()->rect().contains(mouse))
        return;
    QToolTip::showText(m_toolTipPosition, PlainText::toolTip(text), viewport(),
                       visualRect(m_model->index(row)));
}

} // namespace Korvane
