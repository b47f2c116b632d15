#pragma once

#include <QObject>

#include <functional>

class QAction;
class QKeySequence;
class QMainWindow;
class QMenu;
class QSplitter;

namespace Korvane {

/// Commands that hide, show and resize the sidebar and the lower pane, and the full screen.
class PaneCommands final : public QObject
{
    Q_OBJECT

public:
    /// Adds the commands to \p menu. \p window has the splitters "columns", whose first part is the
    /// sidebar, and "detail", whose second part is the lower pane; it owns this.
    PaneCommands(QMainWindow &window, QMenu &menu);

    void showSidebar();
    void showLowerPane();

private:
    QAction *add(QMenu &menu, const QString &text, const QKeySequence &key,
                 std::function<void()> run = {});
    QAction *addToggle(const QString &text, const QKeySequence &key, QSplitter *splitter, int part);
    void resizePart(QSplitter *splitter, int part, int pixels);
    void addFullScreen();

    QMainWindow &m_window;
    QMenu &m_menu;
    QSplitter *m_columns;
    QSplitter *m_detail;
    QAction *m_sidebar;
    QAction *m_lowerPane;
};

} // namespace Korvane
