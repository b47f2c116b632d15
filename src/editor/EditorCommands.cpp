#include "editor/EditorCommands.h"

#include "document/EditorFile.h"
#include "document/LineCommands.h"
#include "editor/CodeEditorView.h"
#include "editor/EditorSearch.h"
#include "editor/GoToLineBar.h"

#include <QAction>
#include <QKeyEvent>

namespace Korvane {

namespace {

TextSelection selectionOf(const QTextCursor &cursor)
{
    return {cursor.anchor(), cursor.position()};
}

} // namespace

EditorCommands::EditorCommands(CodeEditorView &view, EditorSearch &search)
    : QObject(&view)
    , m_view(view)
{
    addSearchCommands(search);
    connect(add(ToggleBreakpoint, tr("Toggle &Breakpoint"), Qt::Key_F9), &QAction::triggered, &view,
            [&view] { emit view.breakpointToggleRequested(view.currentLine()); });
    addLineCommands();
}

void EditorCommands::addSearchCommands(EditorSearch &search)
{
    connect(add(Find, tr("&Find…"), QKeySequence::Find), &QAction::triggered, &search,
            &EditorSearch::open);
    connect(add(FindNext, tr("Find &Next"), Qt::Key_F3), &QAction::triggered, &search,
            &EditorSearch::findNext);
    connect(add(FindPrevious, tr("Find Pre&vious"), Qt::SHIFT | Qt::Key_F3), &QAction::triggered,
            &search, &EditorSearch::findPrevious);
    connect(add(Replace, tr("R&eplace…"), Qt::CTRL | Qt::Key_H), &QAction::triggered, &search,
            &EditorSearch::openReplace);
    connect(add(GoToLine, tr("&Go to Line…"), Qt::CTRL | Qt::Key_G), &QAction::triggered, this,
            &EditorCommands::openGoToLineBar);
}

void EditorCommands::addLineCommands()
{
    connect(add(SelectNextOccurrence, tr("Select Next &Occurrence"), Qt::CTRL | Qt::Key_F3),
            &QAction::triggered, this, &EditorCommands::selectNextOccurrence);
    addLineCommand(Indent, tr("&Indent Lines"), Qt::CTRL | Qt::Key_BracketRight,
                   &LineCommands::indent);
    addLineCommand(Unindent, tr("&Unindent Lines"), Qt::CTRL | Qt::Key_BracketLeft,
                   &LineCommands::unindent);
    addLineCommand(ToggleComment, tr("Toggle &Comment"), Qt::CTRL | Qt::Key_Slash,
                   &LineCommands::toggleComment);
    addLineCommand(MoveLinesUp, tr("&Move Lines Up"), Qt::ALT | Qt::Key_Up, &LineCommands::moveUp);
    addLineCommand(MoveLinesDown, tr("Move Lines Do&wn"), Qt::ALT | Qt::Key_Down,
                   &LineCommands::moveDown);
    addLineCommand(DuplicateLines, tr("&Duplicate Lines"), Qt::CTRL | Qt::SHIFT | Qt::Key_D,
                   &LineCommands::duplicate);
    addLineCommand(DeleteLines, tr("D&elete Lines"), Qt::CTRL | Qt::SHIFT | Qt::Key_K,
                   &LineCommands::remove);
    addLineCommand(JoinLines, tr("&Join Lines"), Qt::CTRL | Qt::Key_J, &LineCommands::join);
}

QAction *EditorCommands::add(Command command, const QString &text, const QKeySequence &key)
{
    auto *action = new QAction(text, this);
    action->setShortcut(key);
    // Commands at the caret apply only while the text has the focus: in a bar above it, the same
    // keys edit the field.
    if (command >= ToggleBreakpoint)
        action->setShortcutContext(Qt::WidgetShortcut);
    m_view.addAction(action);
    m_actions[command] = action;
    return action;
}

void EditorCommands::addLineCommand(Command command, const QString &text, const QKeySequence &key,
                                    LinesEdit edit)
{
    connect(add(command, text, key), &QAction::triggered, this, [this, edit] { editLines(edit); });
}

void EditorCommands::editLines(LinesEdit edit)
{
    const QString text = m_view.textWithPieceEnds();
    const LineCommands commands(text, selectionOf(m_view.textCursor()), m_view.indentation());
    if (const auto changed = (commands.*edit)())
        m_view.apply(*changed);
}

void EditorCommands::selectNextOccurrence()
{
    const LineCommands commands(m_view.text(), selectionOf(m_view.textCursor()));
    if (const auto next = commands.nextOccurrence())
        m_view.select(next->start(), next->end() - next->start());
}

bool EditorCommands::handleKey(const QKeyEvent &event)
{
    const Qt::KeyboardModifiers modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const bool isPlain = modifiers == Qt::NoModifier;
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // With Shift, Qt would insert a line separator, which is no line end in Python.
        if (!isPlain && modifiers != Qt::ShiftModifier)
            return false;
        insertNewLine();
        return true;
    case Qt::Key_Backspace:
        return isPlain && removeIndentStep();
    case Qt::Key_Tab:
        if (!isPlain)
            return false;
        m_view.textCursor().insertText(QString(m_view.indentation().width(), u' '));
        m_view.ensureCursorVisible();
        return true;
    case Qt::Key_Backtab:
        if (modifiers != Qt::ShiftModifier)
            return false;
        editLines(&LineCommands::unindent);
        return true;
    default:
        return false;
    }
}

/// Replaces the selection by a line end and the indentation of the new line. Spaces after the caret
/// would add to that indentation and are removed, unless the caret is within the indentation.
void EditorCommands::insertNewLine()
{
    const QString &text = m_view.text();
    QTextCursor cursor = m_view.textCursor();
    const int start = cursor.selectionStart();
    int end = cursor.selectionEnd();
    const QString indentation = m_view.indentation().ofNewLine(text, start);
    const auto ofLine = PythonIndentation::ofLine(text, start).size();
    if (start - PythonIndentation::lineStart(text, start) > ofLine) {
        while (end < text.size() && text[end] == u' ')
            ++end;
    }
    cursor.setPosition(start);
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    m_view.file().insertText(cursor, u'\n' + indentation);
    m_view.setTextCursor(cursor);
    m_view.ensureCursorVisible();
}

/// Removes a step of the indentation before the caret. False where there is none.
bool EditorCommands::removeIndentStep()
{
    QTextCursor cursor = m_view.textCursor();
    if (cursor.hasSelection())
        return false;
    const int count = m_view.indentation().stepBefore(m_view.text(), cursor.position());
    if (count == 0)
        return false;
    cursor.setPosition(cursor.position() - count, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    m_view.ensureCursorVisible();
    return true;
}

void EditorCommands::openGoToLineBar()
{
    if (!m_goToLineBar) {
        m_goToLineBar = new GoToLineBar(&m_view);
        connect(m_goToLineBar, &EditorBar::closeRequested, this,
                [this] { m_view.setBar(nullptr); });
        connect(m_goToLineBar, &GoToLineBar::lineChosen, this, [this](int line) {
            m_view.setBar(nullptr);
            m_view.goToLine(line);
        });
    }
    m_goToLineBar->setLine(m_view.currentLine(), m_view.lineCount());
    m_view.setBar(m_goToLineBar);
}

} // namespace Korvane
