#pragma once

#include "document/PythonIndentation.h"

#include <QPlainTextEdit>

#include <utility>

namespace Korvane {

class EditorBar;
class EditorCommands;
class EditorFile;
class EditorMarks;
class LineNumberRulerView;
class PythonTextStorage;
struct TextEdit;

/// Shows one document and edits its text: the text in colors, the gutter on its left and, on
/// request, a find bar above it. Caret and scroll position are kept with the document.
/// Lines are 1-based.
class CodeEditorView final : public QPlainTextEdit
{
    Q_OBJECT

public:
    /// A line of the source within the viewport, or a piece of a long one: where its rows are, in
    /// the viewport's coordinates.
    struct LineRows
    {
        int line;
        bool isStart; // no other piece of the line precedes it
        qreal top;
        qreal firstRowHeight;
        qreal height;
    };

    explicit CodeEditorView(QWidget *parent = nullptr);

    /// The font of code unless another is chosen: Theme::monospacedFont() in
    /// Theme::monospacedSize pixels.
    [[nodiscard]] static const QFont &defaultFont();

    /// Shows \p file, or an empty document when it is null. Caret and scroll position of a document
    /// that was shown before are restored; in one whose caret was never placed, the caret gets the
    /// offset it had in the previous document, limited to the end of the text.
    void showDocument(EditorFile *file);
    /// Writes caret and scroll position into the document's viewState.
    void keepViewState();
    /// The text that is shown: with "\n" line ends, also between the pieces of very long lines.
    [[nodiscard]] const QString &text() const;
    /// As EditorFile's.
    [[nodiscard]] QString textWithPieceEnds() const;

    [[nodiscard]] int lineCount() const;
    /// The line of the caret.
    [[nodiscard]] int currentLine() const;
    /// Puts the caret at the start of \p line, limited to the lines of the document.
    void goToLine(int line);
    /// Selects \p length characters from \p position on and shows them.
    void select(int position, int length);
    /// Applies \p edit as one step of the undo history.
    void apply(const TextEdit &edit);
    /// From top to bottom.
    [[nodiscard]] QList<LineRows> visibleLines() const;
    /// The part of the text that the viewport shows: the positions of the first character and of
    /// the one after the last.
    [[nodiscard]] std::pair<int, int> visibleRange() const;
    [[nodiscard]] PythonTextStorage &storage() const { return *m_storage; }

    /// Shows \p bar above the text in place of the current one, or no bar when it is null. The
    /// focus moves into the bar, or back to the text.
    void setBar(EditorBar *bar);

    [[nodiscard]] const EditorCommands &commands() const { return *m_commands; }
    /// The document that is shown; an empty one when there is none.
    [[nodiscard]] EditorFile &file() const { return *m_file; }

    /// The number of spaces of a step of indentation, which is also the width of a tab character;
    /// 4 unless set.
    void setIndentWidth(int spaces);
    [[nodiscard]] const PythonIndentation &indentation() const { return m_indentation; }
    /// Draws a line after \p column characters, or none for 0.
    void setLineLengthMark(int column);
    /// Shows spaces and tabs as symbols.
    void setWhitespaceShown(bool isShown);

signals:
    /// The user asks to set or remove a breakpoint.
    void breakpointToggleRequested(int line);
    /// Another document is shown, or the shown one has other characters or colors.
    void contentShown();
    void barChanged();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    [[nodiscard]] QMimeData *createMimeDataFromSelection() const override;
    void insertFromMimeData(const QMimeData *source) override;

private:
    void present(EditorFile &file);
    void prepareStorage();
    void leaveDocument();
    void putCaret(int position);
    void showBreakpoints();
    void showDebugLines();
    [[nodiscard]] QTextBlock blockOf(int line) const;
    [[nodiscard]] int lineOf(const QTextBlock &block) const;
    void scrollTo(int line);
    void showColors();
    void layOut();
    void setCodeFont();

    /// Shown while there is no document.
    EditorFile *m_noFile;
    EditorFile *m_file = nullptr;
    PythonTextStorage *m_storage = nullptr; // of m_file
    QWidget *m_scrollBarSpacer = nullptr;   // spacer above the scroll bar, as high as m_bar
    LineNumberRulerView *m_ruler = nullptr;
    EditorCommands *m_commands;
    EditorMarks *m_marks = nullptr;
    EditorBar *m_bar = nullptr; // the one that is shown; null without one
    bool m_isWhitespaceShown = false;
    PythonIndentation m_indentation;
    bool m_isPlacingCaret = false;
    int m_keptCaret = 0; // while the whole text is replaced
};

} // namespace Korvane
