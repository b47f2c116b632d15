#pragma once

#include <QObject>
#include <QTimer>

class QDropEvent;
class QMimeData;
class QWidget;

namespace Korvane {

class FileListView;

/// Drops on a file browser: on a folder among the entries, on the button of the enclosing folder,
/// and elsewhere in the pane for the folder that is shown. A folder over which the mouse stays for
/// 0.8 s is opened.
class PaneDrops final : public QObject
{
    Q_OBJECT

public:
    /// Implemented by the pane: where and what can be dropped on it, and what a drop does.
    class Target
    {
    public:
        virtual ~Target() = default;

        /// The path of the folder in \p row, for which isFolder() is true; for -1, that of the
        /// folder that is shown.
        [[nodiscard]] virtual QString dropFolder(int row) const = 0;
        [[nodiscard]] virtual bool isFolder(int row) const = 0;
        [[nodiscard]] virtual QString enclosingFolder() const = 0;
        /// Whether \p data can be dropped anywhere in the pane. If not, the window gets it.
        [[nodiscard]] virtual bool accepts(const QMimeData &data) const = 0;
        /// What a drop of \p data does in \p folder; IgnoreAction when it is refused.
        [[nodiscard]] virtual Qt::DropAction dropAction(const QMimeData &data,
                                                        const QString &folder) const = 0;
        virtual void drop(const QMimeData &data, const QString &folder) = 0;
    };

    /// Filters the events of \p pane, which becomes the parent. \p up is the button of the
    /// enclosing folder. \p target, \p list and \p up must outlive this.
    PaneDrops(Target &target, QWidget &pane, FileListView &list, QWidget &up);

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    /// During a drag the mouse has stayed for 0.8 s over a folder, or with -1 over the button of
    /// the enclosing folder.
    void folderHovered(int row);

private:
    struct Place
    {
        QString folder;
        int row = -1;
        bool isUp = false;
    };

    [[nodiscard]] Place placeOf(const QDropEvent &event) const;
    void handleDrag(QDropEvent &event);
    void end();

    Target &m_target;
    QWidget &m_pane;
    FileListView &m_list;
    QWidget &m_up;
    QTimer m_hoverTimeout;
    int m_hoverRow = -1;
    bool m_isHoveringUp = false;
    /// The rows were replaced since the mouse was moved, so that a drop is not meant for the row
    /// under it.
    bool m_hasNewRows = false;
};

} // namespace Korvane
