#pragma once

#include <QWidget>

class QStackedWidget;
class QToolButton;

namespace Korvane {

class AppState;

/// The window's left column: the choice between the two file browsers, the chosen one, and the
/// transfer in progress, with a button that cancels it.
class SidebarView final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit SidebarView(AppState &state, QWidget *parent = nullptr);

    /// Into the entries of the chosen browser.
    void focusPane();

private:
    [[nodiscard]] QWidget *makePicker();
    [[nodiscard]] QWidget *makeTransferRow();
    void showTab();

    AppState &m_state;
    QToolButton *m_localTab;
    QToolButton *m_deviceTab;
    QStackedWidget *m_body;
    QWidget *m_localBrowser;
    QWidget *m_deviceBrowser;
};

} // namespace Korvane
