#pragma once

#include "ui/browser/FileListModel.h"

#include <QListView>
#include <QSet>

#include <functional>
#include <memory>

class QMenu;
class QMimeData;

namespace Korvane {

/// The entries of one folder. Signals report what the user requested by mouse or keyboard; the
/// owner carries it out.
class FileListView final : public QListView
{
    Q_OBJECT

public:
    explicit FileListView(QWidget *parent = nullptr);

    /// Shows the entries of \p folder, an absolute path. The place and the chosen rows are kept
    /// when it is the folder shown before; coming back from a folder in it, that one is chosen.
    /// While a name is edited, the owner waits for editingEnded first.
    void showRows(QList<FileListModel::Row> rows, const QString &folder);
    /// The entry at \p path is chosen, now or when it is shown.
    void chooseEntry(const QString &path);
    /// Opens \p menu, which deletes itself, at the chosen row or where the mouse asked for it.
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
    /// What a drag of the selected rows carries; null when they can't be dragged.
    void setMakeDragData(std::function<std::unique_ptr<QMimeData>()> make);
    /// A drag that began here is under way.
    [[nodiscard]] bool isDragSource() const { return m_isDragSource; }
    /// Frames the row that a drop would go to; -1 for none.
    void setDropRow(int row);

public slots:
    // By the names that the Edit menu calls.
    void copy() { emit copyRequested(); }
    void cut() { emit cutRequested(); }
    void paste() { emit pasteRequested(); }

signals:
    /// By double-click or Enter.
    void opened(int row);
    /// By mouse, menu key or Shift+F10: the owner calls openMenu. -1 beside the rows.
    void menuRequested(int row);
    /// The mouse rests over the row: the owner calls showToolTip.
    void toolTipRequested(int row);
    void selectedRowsChanged();
    /// After FileListModel::nameEdited when the name was changed.
    void editingEnded();
    void copyRequested();
    void cutRequested();
    void pasteRequested();
    /// The entries that were dragged were moved to another program.
    void movedAway();

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
    [[nodiscard]] int rowToChoose(const QString &folder) const;
    [[nodiscard]] int rowOf(const QString &name) const;
    [[nodiscard]] int rowAt(const QString &path, const QString &folder) const;
    [[nodiscard]] QPixmap dragPixmap() const;

    FileListModel *m_model;
    QString m_folder;
    QString m_chosenName;
    int m_chosenRow = -1;
    /// The path given to chooseEntry that is not shown yet.
    QString m_awaited;
    std::function<std::unique_ptr<QMimeData>()> m_makeDragData;
    int m_dropRow = -1;
    bool m_isShowing = false;
    bool m_isDragSource = false;
    QPoint m_menuPosition;
    QPoint m_toolTipPosition;
};

} // namespace Korvane
