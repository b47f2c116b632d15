#include "ui/shell/TranscriptView.h"

#include "app/ShellTranscript.h"
#include "theme/Theme.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStyle>
#include <QTextBlock>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

// One turn of the event loop: long enough to keep up with any program, short enough to be unseen.
constexpr qint64 turnMilliseconds = 8;
constexpr qsizetype turnCharacters = 131'072;
constexpr qsizetype pieceCharacters = 8'192; // between looks at the clock
constexpr qsizetype lineCost = 64;           // what even an empty line costs, in characters

// From here on lines share blocks. Below, each line is a block of its own, as screen readers like.
constexpr qsizetype floodCharacters = 65'536;
constexpr int manyBlocks = 20'000;

// A line starts in a block that has room for so much of it. It may come in several pieces, and
// where a block ends inside a line a row breaks that the program did not break.
constexpr qsizetype roomForLine = 500;

// Laid-out blocks behind the end that keep their layout; the rest is laid out again when seen.
constexpr int keptLayouts = 200;

constexpr QChar lineEnd = u'\n';

/// What the view knows of each block, kept in the block's user state.
struct BlockState
{
    REPLLine::Kind kind = REPLLine::Kind::Output;
    bool continuesLine = false; // no line end stands between the previous block and this one
    int lines = 1;              // how many lines share the block

    [[nodiscard]] static BlockState of(const QTextBlock &block)
    {
        const int state = std::max(block.userState(), 0); // -1 when never set
        return {static_cast<REPLLine::Kind>(state & 3), (state & 4) != 0, std::max(state >> 3, 1)};
    }
    [[nodiscard]] int packed() const
    {
        return static_cast<int>(kind) | (continuesLine ? 4 : 0) | (lines << 3);
    }
};

bool endsLine(QChar character)
{
    return character == lineEnd || character == u'\r' || character == QChar::ParagraphSeparator
        || character == QChar::LineSeparator;
}

/// The document keeps these for itself: frame marks and embedded objects.
bool isReserved(QChar character)
{
    return character == QChar(0xfdd0) || character == QChar(0xfdd1)
        || character == QChar::ObjectReplacementCharacter;
}

} // namespace

/// Writes lines at the end of the document, within one edit block.
class TranscriptView::Writer final
{
public:
    explicit Writer(TranscriptView &view)
        : m_view(view)
        , m_cursor(view.document())
    {
        m_cursor.movePosition(QTextCursor::End);
        m_cursor.beginEditBlock();
    }
    ~Writer()
    {
        writePending();
        m_cursor.endEditBlock();
    }
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    /// Goes on with a line of the Shell of which \p waiting characters are not shown yet.
    void enterLine(REPLLine::Kind kind, qsizetype waiting)
    {
        writePending(); // what belongs to the line before
        m_kind = kind;
        m_sharesBlocks = waiting > floodCharacters || m_view.blockCount() > manyBlocks;
        if (m_view.m_lineBegun)
            return;
        if (m_view.m_line > 0)
            startBlock(false);
        else
            markBlock(false); // the block that every document begins with
        m_view.m_lineBegun = true;
        m_view.m_owesLineEnd = false;
    }

    void append(QStringView text)
    {
        while (!text.isEmpty()) {
            const auto end = std::find_if(text.cbegin(), text.cend(), endsLine);
            const auto length = static_cast<qsizetype>(end - text.cbegin());
            if (m_view.m_owesLineEnd)
                writeLineEnd(length);
            appendWithinLine(text.first(length));
            m_view.m_owesLineEnd = length < text.size();
            text = text.sliced(std::min(length + 1, text.size()));
        }
    }

private:
    void appendWithinLine(QStringView text)
    {
        while (!text.isEmpty()) {
            qsizetype take = std::min(maxBlockLength - m_view.m_blockLength, text.size());
            if (take > 0 && take < text.size() && text[take - 1].isHighSurrogate())
                --take;
            if (take <= 0) {
                startBlock(true);
                continue;
            }
            m_pending.append(text.first(take));
            m_view.m_blockLength += take;
            text = text.sliced(take);
        }
    }

    /// Before a line of which \p nextLength characters are at hand.
    void writeLineEnd(qsizetype nextLength)
    {
        m_view.m_owesLineEnd = false;
        const qsizetype room = maxBlockLength - m_view.m_blockLength - 1;
        if (!m_sharesBlocks || room < std::max(nextLength, roomForLine)) {
            startBlock(false);
            return;
        }
        m_pending.append(QChar::LineSeparator);
        ++m_view.m_blockLength;
        ++m_view.m_blockLines;
    }

    void writePending()
    {
        if (m_pending.isEmpty())
            return;
        std::replace_if(m_pending.begin(), m_pending.end(), isReserved,
                        QChar(QChar::ReplacementCharacter));
        m_cursor.insertText(m_pending, m_view.format(m_kind));
        m_pending.resize(0);
        if (m_view.m_blockLines > 1) {
            // The document takes every block that it has not laid out for one line high.
            QTextBlock block = m_cursor.block();
            BlockState state = BlockState::of(block);
            state.lines = m_view.m_blockLines;
            block.setUserState(state.packed());
            block.setLineCount(std::max(block.lineCount(), m_view.m_blockLines));
        }
    }

    void startBlock(bool continuesLine)
    {
        writePending();
        m_cursor.insertBlock();
        markBlock(continuesLine);
        QTextBlock passed =
            m_view.document()->findBlockByNumber(m_cursor.block().blockNumber() - keptLayouts);
        if (passed.isValid())
            passed.clearLayout();
    }

    void markBlock(bool continuesLine)
    {
        m_cursor.block().setUserState(BlockState{m_kind, continuesLine, 1}.packed());
        m_view.m_blockLength = 0;
        m_view.m_blockLines = 1;
    }

    TranscriptView &m_view;
    QTextCursor m_cursor;
    REPLLine::Kind m_kind = REPLLine::Kind::Output;
    QString m_pending;
    bool m_sharesBlocks = false;
};

/// A selection that reaches the end of the document would grow with it.
class TranscriptView::SelectionKeeper final
{
public:
    explicit SelectionKeeper(TranscriptView &view)
        : m_view(view)
    {
        const QTextCursor cursor = view.textCursor();
        if (!cursor.hasSelection() || cursor.selectionEnd() < view.document()->characterCount() - 1)
            return;
        m_anchor = cursor.anchor();
        m_position = cursor.position();
    }
    ~SelectionKeeper()
    {
        if (m_anchor < 0)
            return;
        const int scrolledTo = m_view.verticalScrollBar()->value();
        QTextCursor cursor = m_view.textCursor();
        cursor.setPosition(m_anchor);
        cursor.setPosition(m_position, QTextCursor::KeepAnchor);
        m_view.setTextCursor(cursor); // scrolls to the cursor
        m_view.verticalScrollBar()->setValue(scrolledTo);
    }
    SelectionKeeper(const SelectionKeeper &) = delete;
    SelectionKeeper &operator=(const SelectionKeeper &) = delete;

private:
    TranscriptView &m_view;
    int m_anchor = -1;
    int m_position = -1;
};

TranscriptView::TranscriptView(const ShellTranscript &transcript, QWidget *parent)
    : QPlainTextEdit(parent)
    , m_transcript(transcript)
{
    setObjectName(QStringLiteral("shellOutput"));
    setAccessibleName(tr("Shell output"));
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setFrameShape(QFrame::NoFrame);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document()->setDocumentMargin(8);
    setFont(Theme::monospacedFont());
    setTabWidth();
    applyTheme();

    m_more.setSingleShot(true);
    connect(&m_more, &QTimer::timeout, this, &TranscriptView::showMore);
    const auto moreWaits = [this] {
        if (!m_more.isActive())
            m_more.start(0);
    };
    connect(&transcript, &ShellTranscript::lineAppended, this, moreWaits);
    connect(&transcript, &ShellTranscript::outputExtended, this, moreWaits);
    connect(&transcript, &ShellTranscript::cleared, this, &TranscriptView::forget);

    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &TranscriptView::noteScrolling);
    // Scrolling that follows the cursor moves the bar without its telling so.
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect &, int scrolledBy) {
        if (scrolledBy != 0)
            noteScrolling();
    });
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this](int, int maximum) {
        // Lines turn out to wrap only when they are about to be painted.
        if (!m_followsEnd || m_isAdjusting || m_scroll.state() == QAbstractAnimation::Running)
            return;
        const QScopedValueRollback guard(m_isAdjusting, true);
        verticalScrollBar()->setValue(maximum);
    });
    connect(&m_scroll, &QVariantAnimation::valueChanged, this, [this](const QVariant &progress) {
        const QScopedValueRollback guard(m_isAdjusting, true);
        QScrollBar *bar = verticalScrollBar();
        const int from = m_scroll.property("from").toInt();
        bar->setValue(from + qRound((bar->maximum() - from) * progress.toReal()));
    });
    m_scroll.setStartValue(0.0);
    m_scroll.setEndValue(1.0);
    m_scroll.setEasingCurve(QEasingCurve::OutCubic);

    showMore();
}

bool TranscriptView::isCaughtUp() const
{
    const QList<REPLLine> &lines = m_transcript.replLines();
    return m_line == lines.size()
        || (m_line == lines.size() - 1 && m_lineBegun && m_offset == lines.constLast().text.size());
}

void TranscriptView::followEnd()
{
    m_followsEnd = true;
    scrollToEnd();
}

void TranscriptView::forget()
{
    m_more.stop();
    m_scroll.stop();
    m_line = 0;
    m_offset = 0;
    m_lineBegun = false;
    m_owesLineEnd = false;
    m_blockLength = 0;
    m_blockLines = 1;
    m_followsEnd = true;
    const QScopedValueRollback guard(m_isAdjusting, true);
    clear();
}

void TranscriptView::showMore()
{
    if (isCaughtUp())
        return;
    const qsizetype lineBefore = m_line;
    {
        const QScopedValueRollback guard(m_isAdjusting, true);
        const SelectionKeeper selection(*this);
        takeOver();
    }

    const bool isCaught = isCaughtUp();
    if (!isCaught)
        m_more.start(0);
    if (!m_followsEnd)
        return;
    // New lines glide in; output that grows, and more than a page, would only lag behind itself.
    QScrollBar *bar = verticalScrollBar();
    const int duration = style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this);
    if (isCaught && m_line > lineBefore && duration > 0 && isVisible()
        && bar->maximum() - bar->value() <= bar->pageStep()) {
        if (m_scroll.state() == QAbstractAnimation::Running)
            return;
        m_scroll.setProperty("from", bar->value());
        m_scroll.setDuration(std::min(duration, 150));
        m_scroll.start();
    } else {
        scrollToEnd();
    }
}

/// Takes the next piece of the transcript into the document.
void TranscriptView::takeOver()
{
    const QList<REPLLine> &lines = m_transcript.replLines();
    Writer writer(*this);
    QElapsedTimer time;
    time.start();
    qsizetype taken = 0;
    while (taken < turnCharacters && time.elapsed() < turnMilliseconds) {
        const REPLLine &line = lines[m_line];
        const qsizetype waiting = line.text.size() - m_offset;
        writer.enterLine(line.kind, waiting);
        // A view into the transcript's own text: copying a line that grows would cost its square.
        const auto text =
            QStringView(line.text).sliced(m_offset, std::min(waiting, pieceCharacters));
        writer.append(text);
        m_offset += text.size();
        taken += text.size() + lineCost;
        if (m_offset < line.text.size())
            continue;
        if (m_line == lines.size() - 1)
            return; // it may still grow
        ++m_line;
        m_offset = 0;
        m_lineBegun = false;
    }
}

void TranscriptView::noteScrolling()
{
    const int value = verticalScrollBar()->value();
    const bool isDown = value > std::exchange(m_scrolledTo, value);
    if (m_isAdjusting)
        return;
    m_scroll.stop();
    // A cursor on the last line leaves the margin below it out of sight.
    const int left = verticalScrollBar()->maximum() - value;
    m_followsEnd = left == 0 || (left == 1 && isDown);
}

void TranscriptView::scrollToEnd()
{
    m_scroll.stop();
    const QScopedValueRollback guard(m_isAdjusting, true);
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

QMimeData *TranscriptView::createMimeDataFromSelection() const
{
    const QTextCursor selection = textCursor();
    const int start = selection.selectionStart();
    const int end = selection.selectionEnd();
    QString text;
    text.reserve(end - start);
    for (QTextBlock block = document()->findBlock(start);
         block.isValid() && block.position() <= end; block = block.next()) {
        const int from = std::max(start - block.position(), 0);
        const int to = std::min(end - block.position(), block.length() - 1);
        if (block.position() > start && !BlockState::of(block).continuesLine)
            text.append(lineEnd);
        text.append(QStringView(block.text()).sliced(from, to - from));
    }
    text.replace(QChar::LineSeparator, lineEnd);
    auto *copied = new QMimeData;
    copied->setText(text);
    return copied;
}

void TranscriptView::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        applyTheme();
    else if (event->type() == QEvent::FontChange)
        setTabWidth();
}

void TranscriptView::resizeEvent(QResizeEvent *event)
{
    const QScopedValueRollback guard(m_isAdjusting, true);
    const QTextBlock top = firstVisibleBlock();
    QPlainTextEdit::resizeEvent(event);
    if (event->size().width() != event->oldSize().width())
        restoreLineCounts();
    if (m_followsEnd)
        scrollToEnd();
    else if (top.isValid())
        verticalScrollBar()->setValue(top.firstLineNumber());
}

/// A change of width makes the document take every block for one line high again.
void TranscriptView::restoreLineCounts()
{
    bool isChanged = false;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        const int lines = BlockState::of(block).lines;
        if (lines > block.lineCount()) {
            block.setLineCount(lines);
            isChanged = true;
        }
    }
    if (isChanged) {
        QAbstractTextDocumentLayout *layout = document()->documentLayout();
        emit layout->documentSizeChanged(layout->documentSize());
    }
}

void TranscriptView::applyTheme()
{
    const Theme &theme = Theme::of(palette());
    m_errorFormat.setForeground(theme.color(Theme::Role::Red));
    m_infoFormat.setForeground(theme.color(Theme::Role::SecondaryLabel));

    // What is typed and printed follows the palette by itself.
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        const REPLLine::Kind kind = BlockState::of(block).kind;
        if (kind != REPLLine::Kind::Error && kind != REPLLine::Kind::Info)
            continue;
        cursor.setPosition(block.position());
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.setCharFormat(format(kind));
    }
    cursor.endEditBlock();
}

void TranscriptView::setTabWidth()
{
    setTabStopDistance(8 * fontMetrics().horizontalAdvance(u' '));
}

const QTextCharFormat &TranscriptView::format(REPLLine::Kind kind) const
{
    switch (kind) {
    case REPLLine::Kind::Error:
        return m_errorFormat;
    case REPLLine::Kind::Info:
        return m_infoFormat;
    case REPLLine::Kind::Input:
    case REPLLine::Kind::Output:
        break;
    }
    return m_plainFormat;
}

} // namespace Korvane
