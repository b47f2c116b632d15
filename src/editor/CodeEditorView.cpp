#include "editor/CodeEditorView.h"

#include "document/EditorFile.h"
#include "document/LineCommands.h"
#include "document/PythonTextStorage.h"
#include "editor/EditorBar.h"
#include "editor/EditorCommands.h"
#include "editor/EditorMarks.h"
#include "editor/EditorSearch.h"
#include "editor/LineNumberRulerView.h"
#include "editor/PythonTextLayout.h"
#include "theme/Theme.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>

namespace Korvane {

CodeEditorView::CodeEditorView(QWidget *parent)
    : QPlainTextEdit(parent)
    , m_noFile(new EditorFile(QString(), {}, {}, this))
{
    setObjectName(QStringLiteral("editor"));
    setFrameShape(QFrame::NoFrame);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setFont(defaultFont());
    setInputMethodHints(Qt::ImhMultiLine | Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText);

    m_scrollBarSpacer = new QWidget;
    addScrollBarWidget(m_scrollBarSpacer, Qt::AlignTop);
    m_ruler = new LineNumberRulerView(*this);
    m_ruler->onToggleBreakpoint = [this](int line) { emit breakpointToggleRequested(line); };
    m_commands = new EditorCommands(*this, *new EditorSearch(*this));
    m_marks = new EditorMarks(*this);

    connect(this, &QPlainTextEdit::updateRequest, m_ruler, [this](const QRect &rect, int scrolled) {
        if (scrolled != 0)
            m_ruler->scroll(0, scrolled);
        else
            m_ruler->update(0, rect.y(), m_ruler->width(), rect.height());
    });
    connect(this, &QPlainTextEdit::blockCountChanged, this, &CodeEditorView::layOut);
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, [this] {
        if (!m_isPlacingCaret)
            m_file->viewState.isCaretPlaced = true;
    });
    present(*m_noFile);
}

const QFont &CodeEditorView::defaultFont()
{
    static const QFont font = [] {
        QFont fixed = Theme::monospacedFont();
        fixed.setWeight(QFont::Normal);
        fixed.setPixelSize(Theme::monospacedSize);
        return fixed;
    }();
    return font;
}

void CodeEditorView::showDocument(EditorFile *file)
{
    if (!file)
        file = m_noFile;
    if (file == m_file)
        return;
    leaveDocument();
    present(*file);
}

void CodeEditorView::present(EditorFile &file)
{
    const QScopedValueRollback guard(m_isPlacingCaret, true);
    const int position = textCursor().selectionStart();
    m_file = &file;
    m_storage = &file.storage();
    prepareStorage();
    setDocument(m_storage);
    const EditorFile::ViewState &state = file.viewState;
    if (state.isCaretPlaced)
        setTextCursor(state.caret);
    else
        putCaret(position);
    verticalScrollBar()->setValue(
        m_storage->findBlockByNumber(state.firstVisibleLine - 1).firstLineNumber());

    connect(m_storage, &PythonTextStorage::colored, this, &CodeEditorView::showColors);
    connect(m_storage, &QTextDocument::contentsChanged, this, &CodeEditorView::contentShown);
    connect(m_storage, &PythonTextStorage::textAboutToBeReplaced, this,
            [this] { m_keptCaret = textCursor().selectionStart(); });
    connect(m_storage, &PythonTextStorage::textReplaced, this, [this] { putCaret(m_keptCaret); });
    connect(&file, &EditorFile::breakpointsChanged, this, &CodeEditorView::showBreakpoints);
    connect(&file, &EditorFile::debugLinesChanged, this, &CodeEditorView::showDebugLines);
    // The storage is destroyed after this signal. m_noFile is destroyed with the view.
    if (&file != m_noFile)
        connect(&file, &QObject::destroyed, this, [this] { present(*m_noFile); });
    layOut();
    showBreakpoints();
    showDebugLines();
    m_ruler->update();
    emit contentShown();
}

/// Sets font, layout and colors of the shown text.
void CodeEditorView::prepareStorage()
{
    setCodeFont();
    PythonTextLayout::attachTo(*m_storage);
    m_storage->setColors(Theme::of(palette()));
}

/// Stores caret and scroll position in the document and disconnects from it.
void CodeEditorView::leaveDocument()
{
    keepViewState();
    m_file->disconnect(this);
    m_storage->disconnect(this);
}

void CodeEditorView::keepViewState()
{
    m_file->viewState.caret = textCursor();
    m_file->viewState.firstVisibleLine = firstVisibleBlock().blockNumber() + 1;
}

const QString &CodeEditorView::text() const
{
    return m_storage->text();
}

QString CodeEditorView::textWithPieceEnds() const
{
    return m_file->textWithPieceEnds();
}

void CodeEditorView::putCaret(int position)
{
    QTextCursor caret(m_storage);
    caret.setPosition(std::min(position, m_storage->characterCount() - 1));
    setTextCursor(caret);
}

void CodeEditorView::showBreakpoints()
{
    m_ruler->setBreakpoints(m_file->breakpoints());
}

void CodeEditorView::showDebugLines()
{
    m_ruler->setActiveBreakpoints(m_file->armedLines());
    const auto line = m_file->pausedLine();
    m_ruler->setPausedLine(line);
    if (std::exchange(m_file->viewState.shownPausedLine, line) != line && line)
        scrollTo(*line <= lineCount() ? *line : 1);
}

/// Shows the line, in the middle unless it is in view already. The caret does not move.
void CodeEditorView::scrollTo(int line)
{
    for (const LineRows &rows : visibleLines()) {
        if (rows.line == line && rows.top >= 0
            && rows.top + rows.firstRowHeight <= viewport()->height())
            return;
    }
    const QTextBlock block = blockOf(line);
    const int half = viewport()->height() / fontMetrics().lineSpacing() / 2;
    verticalScrollBar()->setValue(std::max(0, block.firstLineNumber() - half));
    // Wrapped lines above it may have pushed it out of view again.
    const QList<LineRows> shown = visibleLines();
    if (!shown.isEmpty() && shown.last().line <= line)
        verticalScrollBar()->setValue(block.firstLineNumber());
}

/// The block of \p line; that of its first piece when it is shown in pieces.
QTextBlock CodeEditorView::blockOf(int line) const
{
    return m_storage->findBlockByNumber(m_file->longLines().shownLine(line) - 1);
}

int CodeEditorView::lineOf(const QTextBlock &block) const
{
    return m_file->longLines().fileLine(block.blockNumber() + 1);
}

int CodeEditorView::lineCount() const
{
    return lineOf(m_storage->lastBlock());
}

int CodeEditorView::currentLine() const
{
    return lineOf(textCursor().block());
}

void CodeEditorView::goToLine(int line)
{
    const int number = std::clamp(line, 1, lineCount());
    scrollTo(number);
    setTextCursor(QTextCursor(blockOf(number)));
}

void CodeEditorView::select(int position, int length)
{
    QTextCursor selection(m_storage);
    selection.setPosition(position);
    scrollTo(lineOf(selection.block()));
    selection.setPosition(position + length, QTextCursor::KeepAnchor);
    setTextCursor(selection);
}

void CodeEditorView::apply(const TextEdit &edit)
{
    const TextSelection selection = m_file->apply(edit);
    QTextCursor cursor(m_storage);
    cursor.setPosition(selection.anchor);
    cursor.setPosition(selection.position, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
    ensureCursorVisible();
}

QList<CodeEditorView::LineRows> CodeEditorView::visibleLines() const
{
    QList<LineRows> lines;
    for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
        const qreal top = blockBoundingGeometry(block).translated(contentOffset()).top();
        if (top >= viewport()->height())
            break;
        const QTextLayout *layout = block.layout();
        if (layout->lineCount() == 0)
            continue;
        const QRectF first = layout->lineAt(0).rect();
        const QRectF last = layout->lineAt(layout->lineCount() - 1).rect();
        lines.append({lineOf(block), !m_file->longLines().isContinued(block.blockNumber() + 1),
                      top + first.top(), first.height(), last.bottom() - first.top()});
    }
    return lines;
}

std::pair<int, int> CodeEditorView::visibleRange() const
{
    const QTextBlock first = firstVisibleBlock();
    QTextBlock last = first;
    for (int rows = viewport()->height() / fontMetrics().lineSpacing(); rows >= 0; --rows) {
        if (last.next().isValid())
            last = last.next();
    }
    return {first.position(), last.position() + last.length() - 1};
}

/// Colors as many lines as fit into the viewport if none is wrapped, so at most a few lines below
/// it without need.
void CodeEditorView::showColors()
{
    const int rows = viewport()->height() / fontMetrics().lineSpacing();
    m_storage->showColors(firstVisibleBlock(), rows + 2);
}

void CodeEditorView::setBar(EditorBar *bar)
{
    EditorBar *old = std::exchange(m_bar, bar);
    if (old && old != bar)
        old->hide();
    layOut();
    if (bar) {
        bar->show();
        bar->takeFocus();
    } else {
        setFocus();
    }
    emit barChanged();
}

void CodeEditorView::layOut()
{
    const int thickness = m_ruler->thickness();
    const int barHeight = m_bar ? m_bar->fitTo(width()) : 0;
    if (const QMargins margins(thickness, barHeight, 0, 0); margins != viewportMargins())
        setViewportMargins(margins);
    const QRect area = viewport()->geometry();
    m_ruler->setGeometry(area.left() - thickness, area.top(), thickness, area.height());
    // The bar has the whole width, and the scroll bar begins below it.
    m_scrollBarSpacer->setFixedHeight(barHeight);
    if (m_bar) {
        m_bar->setGeometry(0, area.top() - barHeight, width(), barHeight);
        m_bar->raise();
    }
}

void CodeEditorView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && m_bar)
        setBar(nullptr);
    else if (!m_commands->handleKey(*event))
        QPlainTextEdit::keyPressEvent(event);
}

void CodeEditorView::paintEvent(QPaintEvent *event)
{
    showColors(); // of lines that came into view
    m_marks->paint(*event);
    QPlainTextEdit::paintEvent(event);
}

void CodeEditorView::resizeEvent(QResizeEvent *event)
{
    QPlainTextEdit::resizeEvent(event);
    layOut();
}

void CodeEditorView::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (!m_storage)
        return;
    if (event->type() == QEvent::FontChange) {
        setCodeFont();
        layOut();
        m_ruler->update();
    } else if (event->type() == QEvent::PaletteChange) {
        m_storage->setColors(Theme::of(palette()));
        m_ruler->update();
        emit contentShown();
    }
}

void CodeEditorView::setIndentWidth(int spaces)
{
    m_indentation = PythonIndentation(spaces);
    setCodeFont();
}

void CodeEditorView::setLineLengthMark(int column)
{
    m_marks->setLineLength(column);
}

void CodeEditorView::setWhitespaceShown(bool isShown)
{
    m_isWhitespaceShown = isShown;
    setCodeFont();
}

void CodeEditorView::setCodeFont()
{
    PythonTextLayout::setOptions(
        *m_storage, {font(), wordWrapMode(), m_indentation.width(), m_isWhitespaceShown});
}

void CodeEditorView::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu *menu = createStandardContextMenu(event->pos());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addSeparator();
    const EditorCommands &commands = *m_commands;
    menu->addActions({commands[EditorCommands::ToggleComment], commands[EditorCommands::Indent],
                      commands[EditorCommands::Unindent]});
    menu->addSeparator();
    menu->addActions({commands[EditorCommands::Find], commands[EditorCommands::GoToLine]});
    menu->addSeparator();
    menu->addAction(commands[EditorCommands::ToggleBreakpoint]);
    menu->popup(event->globalPos());
}

QMimeData *CodeEditorView::createMimeDataFromSelection() const
{
    // QTextCursor::selectedText replaces no-break spaces by spaces.
    const QTextCursor selection = textCursor();
    auto *copied = new QMimeData;
    copied->setText(m_file->content(selection.selectionStart(), selection.selectionEnd()));
    return copied;
}

void CodeEditorView::insertFromMimeData(const QMimeData *source)
{
    // Qt uses the first format without a check that there is one: pasting from an empty clipboard
    // would crash.
    if (!source->hasText())
        return;
    QTextCursor cursor = textCursor();
    m_file->insertText(cursor, source->text());
    ensureCursorVisible();
}

} // namespace Korvane
