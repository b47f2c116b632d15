#pragma once

#include <QObject>

#include <functional>

class QMainWindow;
class QMenu;

namespace Korvane {

class AppState;
class EditorTabStrip;

/// The menu View: which panes are shown, and the way to each open file by keyboard.
class ViewCommands final : public QObject
{
    Q_OBJECT

public:
    /// Adds the menu at the end of the bar of \p window, which becomes the parent. \p state and
    /// \p tabs must outlive this.
    ViewCommands(AppState &state, EditorTabStrip &tabs, QMainWindow &window);

private:
    struct Pane
    {
        QString title;
        std::function<bool()> isShown;
        std::function<void()> show;
    };

    /// Adds \p panes, of which one is shown at a time; \p changed tells when that is another one.
    void addPanes(QMenu *menu, const QList<Pane> &panes, void (AppState::*changed)());
    void addTabKeys(QMenu *menu);
    void listOpenFiles(QMenu *menu);

    AppState &m_state;
    EditorTabStrip &m_tabs;
};

} // namespace Korvane
