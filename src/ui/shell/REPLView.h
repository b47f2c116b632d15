#pragma once

#include "ui/shell/ShellInput.h"

#include <QStringList>
#include <QWidget>

namespace Korvane {

class AppState;
class HistorySearch;
class TranscriptView;

/// The Shell pane: the transcript, and below it the line in which Python is typed.
class REPLView final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit REPLView(AppState &state, QWidget *parent = nullptr);

    // Not a focus proxy: the Tab key would skip the widgets before the input.
    void focusInput();
    /// See TranscriptView::followNextLink.
    bool followNextLink();

    [[nodiscard]] QString inputText() const;
    /// What was submitted, oldest first.
    [[nodiscard]] const QStringList &inputHistory() const;
    /// Place in the history, 0 for the newest entry; -1 when no entry of it is shown.
    [[nodiscard]] qsizetype historyIndex() const { return m_historyIndex; }
    [[nodiscard]] bool inputFocused() const;

private:
    void submit();
    void showHistory(ShellInput::Step step);
    void searchHistory();
    [[nodiscard]] QWidget *makeInputRow();

    AppState &m_state;
    TranscriptView *m_transcript;
    ShellInput *m_input;
    HistorySearch *m_search = nullptr; // made when it is opened first
    qsizetype m_historyIndex = -1;
};

} // namespace Korvane
