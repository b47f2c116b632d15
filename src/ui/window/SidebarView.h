#pragma once

#include <QTimer>
#include <QWidget>

class QStackedWidget;
class QToolButton;

namespace Korvane {

class Actions;
class AppState;
class BrowserCommands;
class BrowserPane;

/// The window's left column: the choice between the two file browsers, the chosen one, and the
/// transfer in progress, with a button that cancels it.
class SidebarView final : public QWidget
{
    Q_OBJECT

public:
    /// Both must outlive this.
    SidebarView(AppState &state, Actions &actions, QWidget *parent = nullptr);

    /// Gives the focus to the entries of the shown browser.
    void focusPane();
    /// A drag over the tab of a browser shows that browser; a drop there copies or moves into its
    /// folder.
    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    /// A command of a browser was chosen that needs this to be visible.
    void showRequested();

private:
    [[nodiscard]] QWidget *makePicker();
    [[nodiscard]] QWidget *makeTransferRow();
    /// Made by the first call, so that it does not add to the start-up time.
    [[nodiscard]] BrowserPane *deviceBrowser();
    void updateMinimumWidth();
    void showTab();

    AppState &m_state;
    QToolButton *m_localTab;
    QToolButton *m_deviceTab;
    QStackedWidget *m_body;
    BrowserPane *m_localBrowser;
    BrowserPane *m_deviceBrowser = nullptr; // see deviceBrowser()
    BrowserCommands *m_commands;
    /// Active while a drag is over m_dragTab.
    QTimer m_tabHoverTimeout;
    QToolButton *m_dragTab = nullptr;
};

} // namespace Korvane
