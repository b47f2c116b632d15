#pragma once

#include "ui/shell/ShellInput.h"

#include <QStringList>
#include <QWidget>

namespace Korvane {

class AppState;
class TranscriptView;

/// The Shell pane: the transcript, and below it the line in which Python is typed.
class REPLView final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit REPLView(AppState &state, QWidget *parent = nullptr);

    // Not a focus proxy: the Tab key would jump over what stands before the input.
    void focusInput();
    /// As of TranscriptView.
    bool followNextLink();

    [[nodiscard]] QString inputText() const;
    /// What was submitted, oldest first. Lives as long as the pane.
    [[nodiscard]] const QStringList &inputHistory() const { return m_inputHistory; }
    /// Place in the history counted from its end; -1 when no entry of it is shown.
    [[nodiscard]] qsizetype historyIndex() const { return m_historyIndex; }
    [[nodiscard]] bool inputFocused() const;

private:
    void submit();
    void showHistory(ShellInput::Step step);
    [[nodiscard]] QWidget *makeInputRow();

    AppState &m_state;
    TranscriptView *m_transcript;
    ShellInput *m_input;
    QStringList m_inputHistory;
    qsizetype m_historyIndex = -1;
};

} // namespace Korvane
