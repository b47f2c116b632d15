#include "ui/window/BottomPane.h"

#include "app/AppState.h"
#include "ui/controls/Divider.h"
#include "ui/controls/PaneTab.h"
#include "ui/controls/SymbolView.h"
#include "ui/shell/REPLView.h"
#include "ui/variables/VariablesView.h"
#include "ui/window/Actions.h"
#include "ui/window/ConnectionIndicator.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <chrono>

namespace Korvane {

namespace {

// An error within this time after a command of the user counts as its result.
constexpr std::chrono::milliseconds userActionTime{5'000};

PaneTab *makeTab(const QString &title)
{
    auto *tab = new PaneTab(title);
    tab->setObjectName(title);
    tab->setToolButtonStyle(Qt::ToolButtonTextOnly);
    tab->setSemiboldWhenChecked();
    return tab;
}

} // namespace

BottomPane::BottomPane(AppState &state, const Actions &actions, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_shell(new REPLView(state))
    , m_body(new QStackedWidget)
    , m_shellTab(makeTab(tr("Shell")))
    , m_variablesTab(makeTab(tr("Variables")))
{
    m_body->addWidget(m_shell);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(new Divider);
    column->addWidget(m_body, 1);

    connect(m_shellTab, &QToolButton::clicked, this, [this] {
        m_state.setBottomTab(AppState::BottomTab::Shell);
        focusPane();
    });
    connect(m_variablesTab, &QToolButton::clicked, this,
            [this] { m_state.setBottomTab(AppState::BottomTab::Variables); });
    connect(&state, &AppState::bottomTabChanged, this, &BottomPane::showTab);
    const ShellTranscript &shell = state.shell();
    connect(&shell, &ShellTranscript::lineAppended, this, [this, &shell](qsizetype index) {
        const REPLLine::Kind kind = shell.replLines().at(index).kind;
        if (kind == REPLLine::Kind::Error)
            showError();
        else if (kind == REPLLine::Kind::Output)
            markOutput();
    });
    connect(&shell, &ShellTranscript::outputExtended, this, &BottomPane::markOutput);
    connect(&state.runner(), &PythonRunner::waitingForInputChanged, this, [this] {
        if (m_state.runner().isWaitingForInput())
            showShell();
    });
    // Its variables are gone, and the Shell says what happened.
    connect(&state.link(), &DeviceLink::lost, this,
            [this] { m_state.setBottomTab(AppState::BottomTab::Shell); });
    connect(&shell, &ShellTranscript::cleared, m_shellTab, [this] { m_shellTab->setMark({}); });
    connect(&state.debugSession(), &DebugSession::paused, this, [this] {
        if (m_state.bottomTab() != AppState::BottomTab::Variables)
            m_variablesTab->setMark(tr("New variables"));
    });
    connect(&actions, &Actions::commandChosen, this, [this] { m_sinceCommand.start(); });
    showTab();
}

void BottomPane::focusPane()
{
    if (m_state.bottomTab() == AppState::BottomTab::Shell)
        m_shell->focusInput();
    else if (!m_variables->focusTable())
        m_variablesTab->setFocus();
}

void BottomPane::followTraceback()
{
    m_shell->followNextLink();
}

void BottomPane::showError()
{
    const bool belongsToUser = isForUser();
    // At a stop of the debugger the variables are what the user looks at.
    if (belongsToUser && !m_state.debugSession().pausedAt()) {
        showShell();
        return;
    }
    if (belongsToUser)
        emit shellNeeded();
    if (m_state.bottomTab() != AppState::BottomTab::Shell)
        m_shellTab->setMark(tr("New error"), Theme::Role::Red);
}

void BottomPane::showShell()
{
    emit shellNeeded();
    m_state.setBottomTab(AppState::BottomTab::Shell);
}

void BottomPane::markOutput()
{
    if (m_state.bottomTab() != AppState::BottomTab::Shell && !m_shellTab->hasMark())
        m_shellTab->setMark(tr("New output"));
}

/// Whether an error that is reported now belongs to an action of the user. During a call of the
/// assistant it belongs to that, unless the user has just chosen a command.
bool BottomPane::isForUser() const
{
    return !m_state.isAssistantCalling()
        || (m_sinceCommand.isValid() && !m_sinceCommand.hasExpired(userActionTime.count()));
}

QWidget *BottomPane::makeHeader()
{
    auto *header = new QWidget;
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(8, 4, 10, 4);
    row->setSpacing(4);
    row->addWidget(m_shellTab);
    row->addWidget(m_variablesTab);
    row->addStretch();
    row->addWidget(makeAssistantIndicator());
    row->addSpacing(8);
    row->addWidget(new ConnectionIndicator(m_state));
    return header;
}

QWidget *BottomPane::makeAssistantIndicator()
{
    auto *indicator = new QWidget;
    indicator->setObjectName(QStringLiteral("assistantIndicator"));
    auto *caption = new QLabel(tr("MCP"));
    caption->setFont(Theme::captionFont(font()));
    const QString help = tr("Claude can reach this device — Claude menu to stop");
    indicator->setToolTip(help);
    caption->setAccessibleDescription(help);
    auto *row = new QHBoxLayout(indicator);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    row->addWidget(new SymbolView(QStringLiteral("sparkles"), Theme::Role::Accent, 14));
    row->addWidget(caption);

    const auto showRunning = [this, indicator] { indicator->setVisible(m_state.mcpRunning()); };
    connect(&m_state, &AppState::mcpRunningChanged, indicator, showRunning);
    showRunning();
    return indicator;
}

void BottomPane::showTab()
{
    const bool isShell = m_state.bottomTab() == AppState::BottomTab::Shell;
    if (!isShell && !m_variables) {
        m_variables = new VariablesView(m_state);
        m_body->addWidget(m_variables);
    }
    (isShell ? m_shellTab : m_variablesTab)->setChecked(true);
    (isShell ? m_shellTab : m_variablesTab)->setMark({});
    // Hiding a pane that has the focus would move the focus to any other widget.
    const QWidget *focus = QApplication::focusWidget();
    const bool hadFocus = m_body->currentWidget()->isAncestorOf(focus)
        || focus == (isShell ? m_variablesTab : m_shellTab);
    m_body->setCurrentWidget(isShell ? static_cast<QWidget *>(m_shell) : m_variables);
    if (hadFocus)
        focusPane();
}

} // namespace Korvane
