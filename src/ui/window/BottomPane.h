#pragma once

#include <QElapsedTimer>
#include <QWidget>

class QStackedWidget;

namespace Korvane {

class Actions;
class AppState;
class PaneTab;
class REPLView;
class VariablesView;

/// The lower part of the window: Shell and Variables, with their tabs and the indicators above.
class BottomPane final : public QWidget
{
    Q_OBJECT

public:
    /// \p state and \p actions must outlive this.
    BottomPane(AppState &state, const Actions &actions, QWidget *parent = nullptr);

    /// Gives the focus to the Shell's input or to the rows of the Variables table, or to its tab
    /// while it is empty.
    void focusPane();
    /// Opens the source line that a traceback in the Shell names, from the last one upward.
    void followTraceback();

signals:
    /// The user must see the Shell: it has an error of theirs, or a program waits for input.
    void shellNeeded();

private:
    void showTab();
    /// For an error of the user emits shellNeeded and shows the Shell, but not at a stop of the
    /// debugger. Otherwise marks the Shell's tab while the Shell is hidden.
    void showError();
    void showShell();
    /// Marks the Shell's tab while the Shell is hidden and the tab has no mark.
    void markOutput();
    [[nodiscard]] bool isForUser() const;
    [[nodiscard]] QWidget *makeHeader();
    [[nodiscard]] QWidget *makeAssistantIndicator();

    AppState &m_state;
    REPLView *m_shell;
    VariablesView *m_variables = nullptr; // made when it is shown first
    QStackedWidget *m_body;
    PaneTab *m_shellTab;
    PaneTab *m_variablesTab;
    QElapsedTimer m_sinceCommand; // since the last command of the user
};

} // namespace Korvane
