#pragma once

#include "ui/browser/FileListModel.h"

#include <QListView>

#include <functional>
#include <memory>

class QMenu;
class QMimeData;

namespace Korvane {

class FileRowDelegate;

/// The entries of one folder. Signals report what the user requested by mouse or keyboard; the
/// owner carries it out.
class FileListView final : public QListView
{
    Q_OBJECT

public:
    explicit FileListView(QWidget *parent = nullptr);

    /// Shows the entries of \p folder, an absolute path. The scroll position and the selection are
    /// kept when it is the folder that was shown before; when a folder in it was shown before, that
    /// one is selected. Not while a name is edited: the owner waits for editingEnded.
    void showRows(QList<FileListModel::Row> rows, const QString &folder);
    /// Selects the entry at \p path, now or as soon as it is listed.
    void selectEntry(const QString &path);
    /// Opens \p menu at the current row or at the click, as it was requested. It is deleted when it
    /// is closed.
    void openMenu(QMenu *menu);
    /// Edits the name of the selected row in its place; `FileListModel::nameEdited` follows. Does
    /// nothing while the list is hidden, or when not exactly one row is selected.
    void editName();
    [[nodiscard]] bool isEditing() const { return state() == EditingState; }
    /// Ends the editing without `FileListModel::nameEdited`.
    void cancelEditing();
    /// Shows \p text as the tool tip of \p row while the mouse is over it.
    void showToolTip(int row, const QString &text);

    /// In ascending order.
    [[nodiscard]] QList<int> selectedRows() const;
    [[nodiscard]] FileListModel &entries() const { return *m_model; }
    /// \p problem returns why an entry cannot have a name, or an empty text when it can.
    void setNameProblem(std::function<QString(const QString &name)> problem);
    /// \p make returns the data of a drag of the selected rows; null when they can't be dragged.
    void setMakeDragData(std::function<std::unique_ptr<QMimeData>()> make);
    /// A drag that began in this list is in progress.
    [[nodiscard]] bool isDragSource() const { return m_isDragSource; }
    /// Draws a frame around \p row, the target of a drop; -1 for none.
    void setDropRow(int row);

public slots:
    // The Edit menu calls these by their names.
    void copy() { emit copyRequested(); }
    void cut() { emit cutRequested(); }
    void paste() { emit pasteRequested(); }

signals:
    /// By double-click or Enter.
    void opened(int row);
    /// By mouse, menu key or Shift+F10: the owner calls openMenu. \p row is -1 beside the rows.
    void menuRequested(int row);
    /// The tool tip of \p row is needed: the owner calls showToolTip.
    void toolTipRequested(int row);
    void selectedRowsChanged();
    /// After FileListModel::nameEdited when the name was changed.
    void editingEnded();
    void copyRequested();
    void cutRequested();
    void pasteRequested();
    /// A drag ended with Qt::MoveAction: its entries may no longer be in the folder.
    void moveDragFinished();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;
    void closeEditor(QWidget *editor, QAbstractItemDelegate::EndEditHint hint) override;

private:
    [[nodiscard]] int rowToSelect(const QString &folder) const;
    [[nodiscard]] int rowOf(const QString &name) const;
    [[nodiscard]] int rowAt(const QString &path, const QString &folder) const;
    [[nodiscard]] QPixmap dragPixmap() const;

    FileRowDelegate *m_delegate;
    FileListModel *m_model;
    QString m_folder;
    QString m_currentName;
    int m_currentRow = -1;
    /// The path given to selectEntry that is not shown yet.
    QString m_pathToSelect;
    std::function<std::unique_ptr<QMimeData>()> m_makeDragData;
    int m_dropRow = -1;
    bool m_isShowing = false;
    bool m_isDragSource = false;
    QPoint m_menuPosition;
    QPoint m_toolTipPosition;
};

} // namespace Korvane
