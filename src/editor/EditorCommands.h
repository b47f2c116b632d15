#pragma once

#include <QObject>

#include <array>
#include <optional>

class QAction;
class QKeyEvent;
class QKeySequence;

namespace Korvane {

class CodeEditorView;
class EditorSearch;
class GoToLineBar;
class LineCommands;
struct TextEdit;

/// The commands of the editor: one QAction for each, for menus, and the keys that indent. Each
/// command that edits is one step of the undo history.
class EditorCommands final : public QObject
{
    Q_OBJECT

public:
    enum Command {
        // Wherever in the window the focus is
        Find,
        FindNext,
        FindPrevious,
        Replace,
        GoToLine,
        // While the editor has the focus
        ToggleBreakpoint,
        SelectNextOccurrence,
        Indent,
        Unindent,
        ToggleComment,
        MoveLinesUp,
        MoveLinesDown,
        DuplicateLines,
        DeleteLines,
        JoinLines,
    };
    static constexpr int commandCount = JoinLines + 1;

    /// Child of \p view.
    EditorCommands(CodeEditorView &view, EditorSearch &search);

    [[nodiscard]] QAction *operator[](Command command) const { return m_actions[command]; }
    /// Handles Return, Backspace, Tab and Shift+Tab. False when the event is to be handled by the
    /// text edit.
    bool handleKey(const QKeyEvent &event);

private:
    using LinesEdit = std::optional<TextEdit> (LineCommands::*)() const;

    void addSearchCommands(EditorSearch &search);
    void addLineCommands();
    QAction *add(Command command, const QString &text, const QKeySequence &key);
    void addLineCommand(Command command, const QString &text, const QKeySequence &key,
                        LinesEdit edit);
    void editLines(LinesEdit edit);
    void selectNextOccurrence();
    void insertNewLine();
    [[nodiscard]] bool removeIndentStep();
    void openGoToLineBar();

    CodeEditorView &m_view;
    GoToLineBar *m_goToLineBar = nullptr; // made when it is opened first
    std::array<QAction *, commandCount> m_actions{};
};

} // namespace Korvane
