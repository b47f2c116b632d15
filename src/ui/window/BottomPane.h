#pragma once

#include <QWidget>

class QStackedWidget;
class QToolButton;

namespace Korvane {

class AppState;
class REPLView;
class VariablesView;

/// The lower part of the window: Shell and Variables, with their tabs and the indicators above.
class BottomPane final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit BottomPane(AppState &state, QWidget *parent = nullptr);

    /// Gives the focus to where the person would type, or else to the tab that is shown.
    void focusPane();

private:
    void showTab();
    [[nodiscard]] QWidget *makeHeader();
    [[nodiscard]] QWidget *makeAssistantIndicator();

    AppState &m_state;
    REPLView *m_shell;
    VariablesView *m_variables;
    QStackedWidget *m_body;
    QToolButton *m_shellTab;
    QToolButton *m_variablesTab;
};

} // namespace Korvane
