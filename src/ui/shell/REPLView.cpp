#include "ui/shell/REPLView.h"

#include "app/AppState.h"
#include "ui/controls/Divider.h"
#include "ui/controls/IconButton.h"
#include "ui/shell/HistorySearch.h"
#include "ui/shell/TranscriptView.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace Korvane {

namespace {

/// Without the spaces and tabs around it; line ends stay.
QString trimmed(const QString &text)
{
    const auto isBlank = [](QChar character) { return character == u' ' || character == u'\t'; };
    const auto first = std::find_if_not(text.cbegin(), text.cend(), isBlank);
    const auto last = std::find_if_not(text.crbegin(), std::make_reverse_iterator(first), isBlank);
    return text.sliced(first - text.cbegin(), last.base() - first);
}

} // namespace

REPLView::REPLView(AppState &state, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_transcript(new TranscriptView(state.shell()))
    , m_input(new ShellInput)
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_transcript, 1);
    column->addWidget(new Divider);
    column->addWidget(makeInputRow());
    setTabOrder(m_transcript, m_input);

    connect(m_input, &ShellInput::submitted, this, &REPLView::submit);
    connect(m_input, &ShellInput::historyRequested, this, &REPLView::showHistory);
    connect(m_input, &ShellInput::pageRequested, this, [this](ShellInput::Step step) {
        m_transcript->verticalScrollBar()->triggerAction(step == ShellInput::Step::Back
                                                             ? QAbstractSlider::SliderPageStepSub
                                                             : QAbstractSlider::SliderPageStepAdd);
    });
    connect(m_input, &ShellInput::searchRequested, this, &REPLView::searchHistory);
    connect(m_input, &ShellInput::endRequested, this, [this] { m_state.endInput(); });
    const auto showHint = [this] {
        m_input->setHint(m_state.runner().isWaitingForInput()
                             ? tr("The program waits for input — Return answers, Ctrl+D ends")
                             : tr("Enter Python expression or statement…"));
    };
    connect(&state.runner(), &PythonRunner::waitingForInputChanged, this, showHint);
    showHint();
    const auto stop = [this] { m_state.stopRun(); };
    connect(m_input, &ShellInput::stopRequested, this, stop);
    connect(m_transcript, &TranscriptView::stopRequested, this, stop);
    connect(
        m_transcript, &TranscriptView::sourceRequested, this,
        [this](const QString &file, int line, int run) { m_state.openSource(file, line, run); });
    connect(&state, &AppState::runStarted, m_transcript, &TranscriptView::followEnd);
    const auto noteTyping = [this] {
        m_state.setTypingInShell(m_input->hasFocus() && !m_input->document()->isEmpty());
    };
    connect(m_input, &QPlainTextEdit::textChanged, this, noteTyping);
    connect(qApp, &QApplication::focusChanged, this, [this, noteTyping] {
        noteTyping();
        if (m_input->hasFocus())
            m_state.inputHistory().load();
    });
}

QWidget *REPLView::makeInputRow()
{
    auto *row = new QWidget;
    row->setMinimumHeight(36);
    auto *prompt = new QLabel(QStringLiteral(">>>"));
    prompt->setForegroundRole(QPalette::PlaceholderText);
    prompt->setBuddy(m_input);
    auto *stop = new IconButton(QStringLiteral("stop.circle.fill"), Theme::Role::SecondaryLabel,
                                tr("Stop (Ctrl+C)"));
    stop->setObjectName(QStringLiteral("shellStop"));
    auto *clear =
        new IconButton(QStringLiteral("trash"), Theme::Role::SecondaryLabel, tr("Clear shell"));
    clear->setObjectName(QStringLiteral("shellClear"));
    connect(stop, &QToolButton::clicked, this, [this] { m_state.stopRun(); });
    connect(clear, &QToolButton::clicked, this, [this] { m_state.shell().clear(); });

    auto *layout = new QHBoxLayout(row);
    layout->setContentsMargins(8, 4, 8, 4);
    layout->setSpacing(6);
    // The prompt is beside the first of several lines.
    const auto fitPrompt = [this, prompt] {
        prompt->setFont(m_input->font());
        // As high as one line of the input, whatever the number of its lines.
        prompt->setMinimumHeight(prompt->fontMetrics().lineSpacing() + 5);
    };
    connect(m_input, &ShellInput::fontChanged, prompt, fitPrompt);
    fitPrompt();
    auto *promptColumn = new QVBoxLayout;
    promptColumn->addWidget(prompt);
    promptColumn->addStretch();
    auto *line = new QHBoxLayout;
    line->setSpacing(6);
    line->addLayout(promptColumn);
    line->addWidget(m_input, 1);
    auto *middle = new QVBoxLayout; // centers the input vertically while it has one line
    middle->addStretch();
    middle->addLayout(line);
    middle->addStretch();
    layout->addLayout(middle, 1);
    layout->addWidget(stop);
    layout->addWidget(clear);
    setTabOrder(m_input, stop);
    setTabOrder(stop, clear);
    return row;
}

QString REPLView::inputText() const
{
    return m_input->text();
}

void REPLView::focusInput()
{
    m_input->setFocus();
}

bool REPLView::followNextLink()
{
    return m_transcript->followNextLink();
}

bool REPLView::inputFocused() const
{
    return m_input->hasFocus();
}

void REPLView::submit()
{
    if (m_state.runner().isWaitingForInput()) {
        const QString answer = m_input->text();
        m_input->setText({});
        m_transcript->followEnd();
        m_state.answerInput(answer);
        return;
    }
    const QString command = trimmed(m_input->text());
    if (command.isEmpty())
        return;
    m_state.inputHistory().add(command);
    m_historyIndex = -1;
    m_input->setText({});
    m_transcript->followEnd(); // so that the reply is in view
    m_state.submitShell(command);
}

void REPLView::showHistory(ShellInput::Step step)
{
    const QStringList &history = inputHistory();
    if (history.isEmpty())
        return;
    const qsizetype wanted = m_historyIndex + (step == ShellInput::Step::Back ? 1 : -1);
    m_historyIndex = std::clamp<qsizetype>(wanted, -1, history.size() - 1);
    m_input->setText(m_historyIndex < 0 ? QString() : history[history.size() - 1 - m_historyIndex]);
}

const QStringList &REPLView::inputHistory() const
{
    return m_state.inputHistory().entries();
}

void REPLView::searchHistory()
{
    if (!m_search) {
        m_search = new HistorySearch(m_state.inputHistory(), this);
        const auto end = [this] {
            m_input->setFocus();
            m_search->hide();
        };
        connect(m_search, &HistorySearch::canceled, this, end);
        connect(m_search, &HistorySearch::chosen, this, [this, end](const QString &command) {
            m_input->setText(command);
            end();
        });
    }
    m_search->open(m_input->text(), m_transcript->geometry().bottom() + 1);
}

} // namespace Korvane
