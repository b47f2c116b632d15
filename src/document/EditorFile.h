#pragma once

#include "document/DocumentPlace.h"
#include "document/LineCommands.h"
#include "document/LineMarks.h"
#include "document/LongLines.h"
#include "document/TextFormat.h"

#include <QObject>
#include <QSet>
#include <QTextCursor>
#include <QUuid>

#include <optional>

namespace Korvane {

class PythonTextStorage;

/// The text of a document at one time, with the format in which its file has it.
struct DocumentText
{
    /// With "\n" line ends, as the editor shows it.
    QString content;
    TextFormat format = {};

    [[nodiscard]] static DocumentText fromFile(const QString &fileText);
    /// The text as it is written to the file.
    [[nodiscard]] QString fileText() const { return format.attach(content); }

    friend bool operator==(const DocumentText &, const DocumentText &) = default;
};

/// One open document: its text with undo history, its file format, where it belongs, the text that
/// was last read or written there, its breakpoints, and the lines that the debugger marks in it.
/// Main thread only.
class EditorFile final : public QObject
{
    Q_OBJECT

public:
    /// Caret and scroll position, kept here so that an editor can restore them.
    struct ViewState
    {
        QTextCursor caret;
        bool isCaretPlaced = false;
        int firstVisibleLine = 1;
        /// The paused line that the editor has scrolled to.
        std::optional<int> shownPausedLine;
    };

    /// Creates an unmodified document with \p text.
    explicit EditorFile(const QString &name, const DocumentPlace &place = {},
                        const DocumentText &text = {}, QObject *parent = nullptr);
    ~EditorFile() override;

    /// "untitled.py" for 1, "untitled2.py" for 2 and so on.
    [[nodiscard]] static QString untitledName(qsizetype number);

    [[nodiscard]] const QUuid &id() const { return m_id; }
    /// Tab title and file name.
    [[nodiscard]] const QString &name() const { return m_name; }
    [[nodiscard]] const DocumentPlace &place() const { return m_place; }
    /// The local file; empty when the document does not belong to one.
    [[nodiscard]] QString path() const;
    /// The path on the board; empty when the document does not belong to a board.
    [[nodiscard]] QString devicePath() const;
    /// Sets the name of the document and the place it belongs to. Writes no file.
    void moveTo(const QString &name, const DocumentPlace &place);

    /// What the editor shows and edits: the text, with very long lines in pieces.
    [[nodiscard]] PythonTextStorage &storage() const { return *m_storage; }
    [[nodiscard]] const LongLines &longLines() const { return m_longLines; }
    /// The text of the storage with LongLines::pieceEnd in place of "\n" between the pieces of a
    /// line, for replacing and for commands on whole lines. All positions are those of the storage.
    [[nodiscard]] QString textWithPieceEnds() const;
    /// The text with its lines in one piece and "\n" line ends.
    [[nodiscard]] QString content() const;
    /// The part of the content between the positions \p start and \p end of the storage.
    [[nodiscard]] QString content(int start, int end) const;
    [[nodiscard]] DocumentText text() const { return {content(), m_format}; }
    /// Replaces the text as one edit that can be undone.
    void setContent(const QString &content);
    /// Replaces the selection of \p cursor by \p text.
    void insertText(QTextCursor &cursor, QString text);
    /// Applies an edit of `textWithPieceEnds`. Returns the selection after it.
    TextSelection apply(const TextEdit &edit);
    /// Replaces text and file format by \p text, the present content of the document's file. The
    /// replaced text can be restored by undo.
    void reload(const DocumentText &text);

    /// What happened to the document's file since the document last read or wrote it.
    enum class FileChange { None, Changed, Deleted };
    [[nodiscard]] FileChange fileChange() const { return m_fileChange; }
    void setFileChange(FileChange change);

    /// The text differs from what was last read or saved, or no saved text is known.
    [[nodiscard]] bool isModified() const { return m_isModified; }
    /// The document's file does not hold the text: the document is modified, or its file was
    /// deleted.
    [[nodiscard]] bool isUnsaved() const
    {
        return m_isModified || m_fileChange == FileChange::Deleted;
    }
    /// As OpenFiles::newFile() creates it: without text and place, and with an empty undo history.
    [[nodiscard]] bool isUntouched() const;
    /// What was last read or written at the document's place; nothing when it is unknown.
    [[nodiscard]] const std::optional<DocumentText> &savedText() const { return m_saved; }
    void setSavedText(const std::optional<DocumentText> &text);
    /// Changes whenever the saved text is set.
    [[nodiscard]] int savedNumber() const { return m_savedNumber; }

    /// 1-based. They move with their lines.
    [[nodiscard]] const QSet<int> &breakpoints() const { return m_breakpoints.lines(); }
    /// Sets a breakpoint on \p line or removes it.
    void toggleBreakpoint(int line);
    void clearBreakpoints();

    /// The lines on which the debug run of this document has armed breakpoints, and the one where
    /// it is paused. 1-based, in the text that was sent.
    [[nodiscard]] const QSet<int> &armedLines() const { return m_armedLines; }
    [[nodiscard]] std::optional<int> pausedLine() const { return m_pausedLine; }
    void setDebugLines(const QSet<int> &armed, std::optional<int> paused);

    /// Written by the editor that shows the document.
    ViewState viewState;

signals:
    /// Name, place, isModified or fileChange have changed.
    void changed();
    void contentChanged();
    void breakpointsChanged();
    void debugLinesChanged();

private:
    void follow(const LineEdit &shownEdit, int undoSteps, bool isHistory);
    void handleEdited();
    void updateModified();

    const QUuid m_id = QUuid::createUuid();
    QString m_name;
    DocumentPlace m_place;
    PythonTextStorage *m_storage; // a child
    LongLines m_longLines;
    TextFormat m_format;
    std::optional<DocumentText> m_saved;
    int m_savedNumber = 0;
    bool m_isModified = false;
    FileChange m_fileChange = FileChange::None;
    LineMarks m_breakpoints;
    bool m_haveBreakpointsMoved = false;
    QSet<int> m_armedLines;
    std::optional<int> m_pausedLine;
};

} // namespace Korvane
