#pragma once

#include "ui/browser/FileListModel.h"

#include <QListView>

class QMenu;

namespace Korvane {

/// The entries of one folder, to be looked through and acted on by mouse or keyboard. What its
/// signals mean is its owner's business.
class FileListView final : public QListView
{
    Q_OBJECT

public:
    explicit FileListView(QWidget *parent = nullptr);

    /// Shows the entries of \p folder, an absolute path. The place and the chosen row are kept when
    /// it is the folder shown before; coming back from a folder in it, that one is chosen.
    void showRows(QList<FileListModel::Row> rows, const QString &folder);
    /// Opens \p menu, which deletes itself, at the chosen row or where the mouse asked for it.
    void openMenu(QMenu *menu);

signals:
    /// By double-click or Enter.
    void opened(int row);
    /// By mouse, menu key or Shift+F10: the owner calls openMenu.
    void menuRequested(int row);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    [[nodiscard]] int rowToChoose(const QString &folder) const;

    FileListModel *m_model;
    QString m_folder;
    QString m_chosenName;
    int m_chosenRow = -1;
    QPoint m_menuPosition;
};

} // namespace Korvane
