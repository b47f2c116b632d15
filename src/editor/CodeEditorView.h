#pragma once

#include <QHash>
#include <QPlainTextEdit>
#include <QSet>
#include <QUuid>

#include <optional>
#include <utility>

class QAction;

namespace Korvane {

class EditorBar;
class EditorSearch;
class GoToLineBar;
class LineNumberRulerView;
class PythonTextStorage;

/// The editing surface of the selected document: its text in colors, with the gutter on its left
/// and, when asked for, a find bar above it.
///
/// Texts and breakpoints belong to somebody else, who is told what the person did. What belongs to
/// the view is kept for each document as long as it is open: undo history, caret and scroll
/// position. Lines are 1-based.
class CodeEditorView final : public QPlainTextEdit
{
    Q_OBJECT

public:
    /// A line of the source within the viewport: where its rows are, in the viewport's coordinates.
    struct LineRows
    {
        int line;
        qreal top;
        qreal firstRowHeight;
        qreal height;
    };

    explicit CodeEditorView(QWidget *parent = nullptr);

    /// The one font of all code: the desktop's monospaced one.
    [[nodiscard]] static const QFont &codeFont();

    /// Shows the document \p id, which has that text. One that was here before comes back as it was
    /// left; in one whose caret nobody has placed yet, the caret stays at the offset it had in the
    /// document before, or goes to the end of a shorter text. Does not count as an edit.
    void showDocument(const QUuid &id, const QString &text);
    /// Forgets all documents but these and the one that is shown.
    void keepDocuments(const QSet<QUuid> &ids);
    /// With "\n" line ends.
    [[nodiscard]] const QString &text() const;
    /// Gives the shown document that text, if it has another. The caret stays where it was, or goes
    /// to the end of a shorter text. Does not count as an edit, and can't be undone.
    void setText(const QString &text);

    void setBreakpoints(const QSet<int> &lines);
    void setActiveBreakpoints(const QSet<int> &lines);
    /// Scrolls to the line when it differs from the one before; to the start of the text when there
    /// is no such line.
    void setPausedLine(std::optional<int> line);

    /// The line of the caret.
    [[nodiscard]] int currentLine() const;
    /// Puts the caret at the start of \p line, or of the first or last line there is.
    void goToLine(int line);
    /// Selects \p length characters from \p position on and shows them.
    void select(int position, int length);
    [[nodiscard]] QList<LineRows> visibleLines() const;
    /// The part of the text that the viewport shows: the first character and the one behind the
    /// last.
    [[nodiscard]] std::pair<int, int> visibleRange() const;
    [[nodiscard]] PythonTextStorage &storage() const { return *m_storage; }

    /// Puts \p bar above the text, in place of another, or takes away what is there; the focus
    /// goes along.
    void setBar(EditorBar *bar);

    /// What the editor offers, for menus. The keys of all but the last work wherever in the window
    /// the focus is.
    [[nodiscard]] QAction *findAction() const { return m_findAction; }
    [[nodiscard]] QAction *findNextAction() const { return m_findNextAction; }
    [[nodiscard]] QAction *findPreviousAction() const { return m_findPreviousAction; }
    [[nodiscard]] QAction *goToLineAction() const { return m_goToLineAction; }
    [[nodiscard]] QAction *toggleBreakpointAction() const { return m_toggleBreakpointAction; }

signals:
    /// The person changed the text.
    void textEdited(const QString &text);
    /// The person asks to set or remove a breakpoint.
    void onToggleBreakpoint(int line);
    /// Another document is shown, or the shown one has other characters or colors.
    void contentShown();
    void barChanged();

protected:
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    [[nodiscard]] QMimeData *createMimeDataFromSelection() const override;
    void insertFromMimeData(const QMimeData *source) override;

private:
    /// A document that is or was shown, and how it was left.
    struct Place
    {
        PythonTextStorage *storage = nullptr; // a child of the view
        QTextCursor caret;
        int firstVisibleLine = 1;
        bool isCaretPlaced = false;
    };

    QAction *makeAction(const QString &text, const QKeySequence &key);
    [[nodiscard]] PythonTextStorage *makeStorage();
    void leaveDocument();
    void putCaret(int position);
    void scrollTo(int line);
    void showColors();
    void layOut();
    void setCodeFont(PythonTextStorage &storage) const;

    QHash<QUuid, Place> m_places;
    QUuid m_shownID;
    bool m_isShownClosed = true; // a stand-in, until a document is shown
    PythonTextStorage *m_storage = nullptr;
    QWidget *m_besideBar = nullptr; // keeps the scroll bar out of the bar's rows
    LineNumberRulerView *m_ruler = nullptr;
    EditorSearch *m_search = nullptr;
    GoToLineBar *m_goToLineBar = nullptr;
    EditorBar *m_bar = nullptr; // the one on show
    QAction *m_findAction;
    QAction *m_findNextAction;
    QAction *m_findPreviousAction;
    QAction *m_goToLineAction;
    QAction *m_toggleBreakpointAction;
    bool m_isSwitching = false;
};

} // namespace Korvane
