#include "ui/browser/FileListView.h"

#include "ui/browser/BrowserPane.h"
#include "ui/browser/FileRowDelegate.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>

#include <algorithm>
#include <utility>

namespace Korvane {

FileListView::FileListView(QWidget *parent)
    : QListView(parent)
    , m_model(new FileListModel(this))
{
    setModel(m_model);
    setItemDelegate(new FileRowDelegate(this));
    setFrameShape(QFrame::NoFrame);
    setUniformItemSizes(true); // a folder of 20,000 entries is laid out at once
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
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
        m_chosenName = current.isValid() ? m_model->rows().at(current.row()).name : QString();
        m_chosenRow = current.row();
    }
    const int scrolledTo = isSameFolder ? verticalScrollBar()->value() : 0;
    m_model->setRows(std::move(rows));
    const int row = rowToChoose(folder);
    m_folder = folder;
    doItemsLayout(); // now, so that the range to scroll in is the new one
    if (row >= 0)
        setCurrentIndex(m_model->index(row));
    if (isSameFolder || row < 0)
        verticalScrollBar()->setValue(scrolledTo);
}

int FileListView::rowToChoose(const QString &folder) const
{
    const QList<FileListModel::Row> &rows = m_model->rows();
    QString name;
    if (folder == m_folder) {
        name = m_chosenName;
    } else {
        const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
        if (m_folder.startsWith(prefix))
            name = m_folder.sliced(prefix.size()).section(u'/', 0, 0);
    }
    const auto found = std::find_if(rows.cbegin(), rows.cend(),
                                    [&name](const auto &row) { return row.name == name; });
    if (!name.isEmpty() && found != rows.cend())
        return static_cast<int>(found - rows.cbegin());
    const int last = static_cast<int>(rows.size()) - 1;
    if (folder == m_folder)
        return std::min(m_chosenRow, last); // it was deleted: its neighbour
    // Keyboard users continue from the first row.
    return hasFocus() ? std::min(0, last) : -1;
}

void FileListView::openMenu(QMenu *menu)
{
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(m_menuPosition);
}

void FileListView::keyPressEvent(QKeyEvent *event)
{
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
    } else if (BrowserPane::isUpKey(*event)) {
        event->ignore(); // the pane's
    } else {
        QListView::keyPressEvent(event);
    }
}

void FileListView::contextMenuEvent(QContextMenuEvent *event)
{
    // The menu key comes as a key press too, on every platform.
    const QModelIndex index = indexAt(event->pos());
    if (event->reason() != QContextMenuEvent::Mouse || !index.isValid())
        return;
    m_menuPosition = event->globalPos();
    emit menuRequested(index.row());
}

} // namespace Korvane
