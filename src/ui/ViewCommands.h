#pragma once

#include <QObject>

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
    /// A group of which one is checked, by what \p current tells whenever \p changed is emitted.
    template <typename Tab>
    void addChoice(QMenu *menu, const QList<std::pair<QString, Tab>> &tabs,
                   Tab (AppState::*current)() const, void (AppState::*choose)(Tab),
                   void (AppState::*changed)());
    void addTabKeys(QMenu *menu);
    void listOpenFiles(QMenu *menu);

    AppState &m_state;
    EditorTabStrip &m_tabs;
    QMainWindow &m_window;
};

} // namespace Korvane
