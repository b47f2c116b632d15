#include "ui/shell/TranscriptView.h"

#include "app/ShellTranscript.h"
#include "theme/Theme.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QStyle>
#include <QTextBlock>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

// One turn of the event loop: enough to show the output of any program as it arrives, without a
// visible delay of the window.
constexpr qint64 turnMilliseconds = 8;
constexpr qsizetype turnCharacters = 131'072;
constexpr qsizetype pieceCharacters = 8'192; // between two checks of the time
constexpr qsizetype lineCost = 64;           // of an empty line, in characters

} // namespace

/// Restores a selection that reaches the end of the document, which would grow with it.
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
    viewport()->setMouseTracking(true);

    m_copyTimer.setSingleShot(true);
    connect(&m_copyTimer, &QTimer::timeout, this, &TranscriptView::copyMore);
    const auto startCopying = [this] {
        if (!m_copyTimer.isActive())
            m_copyTimer.start(0);
    };
    connect(&transcript, &ShellTranscript::lineAppended, this, startCopying);
    connect(&transcript, &ShellTranscript::outputExtended, this, startCopying);
    connect(&transcript, &ShellTranscript::trimmed, this, &TranscriptView::removeOldest);
    connect(&transcript, &ShellTranscript::cleared, this, &TranscriptView::reset);

    connect(verticalScrollBar(), &QScrollBar::valueChanged, this,
            &TranscriptView::updateFollowsEnd);
    // QPlainTextEdit scrolls to the cursor without a signal of the scroll bar.
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect &, int scrolledBy) {
        if (scrolledBy != 0)
            updateFollowsEnd();
    });
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this](int, int maximum) {
        // The rows of a wrapped line are counted only when it is about to be painted.
        if (!m_followsEnd || m_isAdjusting || m_scroll.state() == QAbstractAnimation::Running)
            return;
        const QScopedValueRollback guard(m_isAdjusting, true);
        verticalScrollBar()->setValue(maximum);
    });
    connect(&m_scroll, &QVariantAnimation::valueChanged, this, [this](const QVariant &progress) {
        const QScopedValueRollback guard(m_isAdjusting, true);
        QScrollBar *bar = verticalScrollBar();
        bar->setValue(m_scrollStart + qRound((bar->maximum() - m_scrollStart) * progress.toReal()));
    });
    m_scroll.setStartValue(0.0);
    m_scroll.setEndValue(1.0);
    m_scroll.setEasingCurve(QEasingCurve::OutCubic);

    startCopying(); // while the X server shows the window
}

bool TranscriptView::isCaughtUp() const
{
    const QList<REPLLine> &lines = m_transcript.replLines();
    return m_line == lines.size()
        || (m_line == lines.size() - 1 && m_tail.isLineBegun
            && m_offset == lines.constLast().text.size());
}

void TranscriptView::followEnd()
{
    m_followsEnd = true;
    scrollToEnd();
}

void TranscriptView::reset()
{
    m_copyTimer.stop();
    m_scroll.stop();
    m_line = 0;
    m_offset = 0;
    m_tail = {};
    m_linkCursor = {};
    m_followsEnd = true;
    const QScopedValueRollback guard(m_isAdjusting, true);
    clear();
}

void TranscriptView::copyMore()
{
    if (isCaughtUp())
        return;
    const qsizetype lineBefore = m_line;
    m_linkCursor = {};
    {
        const QScopedValueRollback guard(m_isAdjusting, true);
        const SelectionKeeper selection(*this);
        copyNextPiece();
    }
    shortenDocument();

    const bool isCaught = isCaughtUp();
    if (!isCaught)
        m_copyTimer.start(0);
    if (!m_followsEnd)
        return;
    // Scrolling to new lines is animated, but not while output continues or for more than a page:
    // the animation would lag behind.
    QScrollBar *bar = verticalScrollBar();
    const int duration = style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this);
    if (isCaught && m_line > lineBefore && duration > 0 && isVisible()
        && bar->maximum() - bar->value() <= bar->pageStep()) {
        if (m_scroll.state() == QAbstractAnimation::Running)
            return;
        m_scrollStart = bar->value();
        m_scroll.setDuration(std::min(duration, 150));
        m_scroll.start();
    } else {
        scrollToEnd();
    }
}

/// Copies the next piece of the transcript into the document.
void TranscriptView::copyNextPiece()
{
    const QList<REPLLine> &lines = m_transcript.replLines();
    TranscriptWriter writer(*document(), m_tail, m_formats);
    QElapsedTimer time;
    time.start();
    qsizetype taken = 0;
    while (taken < turnCharacters && time.elapsed() < turnMilliseconds) {
        const REPLLine &line = lines[m_line];
        const qsizetype waiting = line.text.size() - m_offset;
        writer.enterLine(line, waiting, m_line == 0 && document()->isEmpty());
        const qsizetype written = writer.append(line, m_offset, pieceCharacters);
        m_offset += written;
        taken += written + lineCost;
        if (m_offset < line.text.size())
            continue;
        if (m_line == lines.size() - 1)
            return; // it may still grow
        ++m_line;
        m_offset = 0;
        m_tail.isLineBegun = false;
    }
}

void TranscriptView::updateFollowsEnd()
{
    const int value = verticalScrollBar()->value();
    const bool isDown = value > std::exchange(m_scrolledTo, value);
    if (m_isAdjusting)
        return;
    m_scroll.stop();
    // With the cursor on the last line, the view does not show the margin below it.
    const int left = verticalScrollBar()->maximum() - value;
    m_followsEnd = left == 0 || (left == 1 && isDown);
}

void TranscriptView::scrollToEnd()
{
    m_scroll.stop();
    const QScopedValueRollback guard(m_isAdjusting, true);
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void TranscriptView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy) && !textCursor().hasSelection()) {
        emit stopRequested();
        return;
    }
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && follow(TranscriptLinks::inLineOf(textCursor())))
        return;
    QPlainTextEdit::keyPressEvent(event);
}

bool TranscriptView::follow(const std::optional<TranscriptLinks::Link> &link)
{
    if (link)
        emit sourceRequested(link->file, link->line, link->run);
    return link.has_value();
}

bool TranscriptView::followNextLink()
{
    if (m_linkCursor.isNull()) {
        m_linkCursor = QTextCursor(document());
        m_linkCursor.movePosition(QTextCursor::End);
    }
    const auto link = TranscriptLinks::before(m_linkCursor);
    if (!link)
        return false;
    m_linkCursor.setPosition(link->start);
    m_linkCursor.setKeepPositionOnInsert(true);
    QTextCursor shown = m_linkCursor;
    shown.setPosition(link->start + link->length, QTextCursor::KeepAnchor);
    setTextCursor(shown);
    return follow(link);
}

std::optional<TranscriptLinks::Link> TranscriptView::linkAt(const QPoint &point) const
{
    const QTextCursor cursor = cursorForPosition(point);
    const auto link = TranscriptLinks::inLineOf(cursor);
    const bool isOnIt = link && cursor.position() >= link->start
        && cursor.position() <= link->start + link->length
        && std::abs(cursorRect(cursor).center().x() - point.x())
            < 2 * fontMetrics().averageCharWidth();
    return isOnIt ? link : std::nullopt;
}

void TranscriptView::mouseMoveEvent(QMouseEvent *event)
{
    QPlainTextEdit::mouseMoveEvent(event);
    const bool isLink = event->buttons() == Qt::NoButton && linkAt(event->pos());
    viewport()->setCursor(isLink ? Qt::PointingHandCursor : Qt::IBeamCursor);
}

void TranscriptView::mouseReleaseEvent(QMouseEvent *event)
{
    QPlainTextEdit::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && !textCursor().hasSelection())
        follow(linkAt(event->pos()));
}

void TranscriptView::paintEvent(QPaintEvent *event)
{
    QPlainTextEdit::paintEvent(event);
    QPainter painter(viewport());
    painter.setPen(Theme::of(palette()).color(Theme::Role::Accent));
    QPointF offset = contentOffset();
    for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
        const QRectF box = blockBoundingGeometry(block).translated(offset);
        if (box.top() > event->rect().bottom())
            break;
        TranscriptLinks::underline(painter, block, box.topLeft());
    }
}

void TranscriptView::removeOldest(qsizetype lines, qsizetype characters)
{
    if (m_line < lines) {
        // Nothing of what is left was copied so far.
        m_line = 0;
        m_offset = 0;
        m_tail.isLineBegun = false;
    } else {
        m_line -= lines;
        if (m_line == 0)
            m_offset = std::max<qsizetype>(m_offset - characters, 0);
    }
    shortenDocument();
}

void TranscriptView::shortenDocument()
{
    const qsizetype limit = m_transcript.limit();
    const qsizetype excess = document()->characterCount() - limit;
    if (excess <= limit / 10)
        return;
    const QTextBlock kept = document()->findBlock(static_cast<int>(excess)).next();
    if (!kept.isValid())
        return;
    const QScopedValueRollback guard(m_isAdjusting, true);
    const QTextBlock top = firstVisibleBlock();
    const bool isTopKept = top.position() >= kept.position();
    QTextCursor cursor(document());
    cursor.setPosition(kept.position(), QTextCursor::KeepAnchor);
    const int state = kept.userState();
    const int rows = kept.lineCount();
    cursor.removeSelectedText();
    document()->firstBlock().setUserState(state);
    document()->firstBlock().setLineCount(rows);
    if (!m_followsEnd)
        verticalScrollBar()->setValue(isTopKept ? top.firstLineNumber() : 0);
}

QMimeData *TranscriptView::createMimeDataFromSelection() const
{
    auto *copied = new QMimeData;
    copied->setText(TranscriptBlock::printedText(textCursor()));
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

/// A change of width resets the line count of every block to 1.
void TranscriptView::restoreLineCounts()
{
    bool isChanged = false;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        const int lines = TranscriptBlock::of(block).lines;
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
    m_formats.setColors(Theme::of(palette()));
    m_formats.applyTo(*document());
}

void TranscriptView::setTabWidth()
{
    setTabStopDistance(8 * fontMetrics().horizontalAdvance(u' '));
}

} // namespace Korvane
