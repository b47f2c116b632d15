#include "ui/shell/TranscriptWriter.h"

#include "app/ShellTranscript.h"
#include "ui/shell/TranscriptFormats.h"

#include <QAbstractTextDocumentLayout>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

// With more characters of a line waiting, or more blocks in the document, lines share blocks.
// Otherwise each line is a block of its own, which screen readers read as a line.
constexpr qsizetype floodCharacters = 65'536;
constexpr int manyBlocks = 20'000;

// A line is added to a block only where this many of its characters have room. The rest of a line
// that does not fit begins a new row of the view, where the program printed no line end.
constexpr qsizetype roomForLine = 500;

// Blocks at the end that keep their layout. The others are laid out again when they are shown.
constexpr int keptLayouts = 200;

// How the user state of a block is divided, below its sign: two bits for the kind, one for
// continuesLine, eleven for the lines, of which a block has at most maxLength, the rest for the
// run.
constexpr int maxLines = 0x7ff;
constexpr int runShift = 14;
static_assert(TranscriptBlock::maxLength <= maxLines);
static_assert(ShellTranscript::maxRun == 0x7fffffff >> runShift);

bool endsLine(QChar character)
{
    return character == u'\n' || character == u'\r' || character == QChar::ParagraphSeparator
        || character == QChar::LineSeparator;
}

/// QTextDocument reserves these for frames and embedded objects.
bool isReserved(QChar character)
{
    return character == QChar(0xfdd0) || character == QChar(0xfdd1)
        || character == QChar::ObjectReplacementCharacter;
}

/// How many characters of \p line from \p offset on have one format, and whether they are a message
/// of the REPL.
std::pair<qsizetype, bool> pieceAt(const REPLLine &line, qsizetype offset)
{
    const auto next = std::lower_bound(line.replMessages.cbegin(), line.replMessages.cend(), offset,
                                       [](const REPLLine::Range &range, qsizetype at) {
                                           return range.start + range.length <= at;
                                       });
    if (next == line.replMessages.cend())
        return {line.text.size() - offset, false};
    if (next->start > offset)
        return {next->start - offset, false};
    return {next->start + next->length - offset, true};
}

} // namespace

TranscriptBlock TranscriptBlock::of(const QTextBlock &block)
{
    const int state = std::max(block.userState(), 0); // -1 when never set
    return {static_cast<REPLLine::Kind>(state & 3), (state & 4) != 0,
            std::max((state >> 3) & maxLines, 1), state >> runShift};
}

int TranscriptBlock::packed() const
{
    return static_cast<int>(kind) | (continuesLine ? 4 : 0) | (lines << 3) | (run << runShift);
}

QString TranscriptBlock::printedText(const QTextCursor &selection)
{
    const int start = selection.selectionStart();
    const int end = selection.selectionEnd();
    QString text;
    text.reserve(end - start);
    for (QTextBlock block = selection.document()->findBlock(start);
         block.isValid() && block.position() <= end; block = block.next()) {
        const int from = std::max(start - block.position(), 0);
        const int to = std::min(end - block.position(), block.length() - 1);
        if (block.position() > start && !of(block).continuesLine)
            text.append(u'\n');
        text.append(QStringView(block.text()).sliced(from, to - from));
    }
    text.replace(QChar::LineSeparator, QChar(u'\n'));
    return text;
}

TranscriptWriter::TranscriptWriter(QTextDocument &document, TranscriptTail &tail,
                                   const TranscriptFormats &formats)
    : m_document(document)
    , m_tail(tail)
    , m_formats(formats)
    , m_cursor(&document)
{
    m_cursor.movePosition(QTextCursor::End);
    m_cursor.beginEditBlock();
}

TranscriptWriter::~TranscriptWriter()
{
    writePending();
    m_cursor.endEditBlock();
    // After setLineCount the layout finds the count unchanged, and does not report the new size of
    // the document itself.
    QAbstractTextDocumentLayout *layout = m_document.documentLayout();
    if (m_hasSetLines)
        emit layout->documentSizeChanged(layout->documentSize());
}

void TranscriptWriter::enterLine(const REPLLine &line, qsizetype waiting, bool isFirst)
{
    writePending(); // belongs to the previous line
    m_kind = line.kind;
    m_run = line.run;
    m_sharesBlocks = waiting > floodCharacters || m_document.blockCount() > manyBlocks;
    if (m_tail.isLineBegun)
        return;
    if (isFirst)
        markBlock(false);
    else
        startBlock(false);
    m_tail.isLineBegun = true;
    m_tail.owesLineEnd = false;
}

qsizetype TranscriptWriter::append(const REPLLine &line, qsizetype offset, qsizetype maxLength)
{
    const auto [length, isReplMessage] = pieceAt(line, offset);
    // A view into the line's own text: copying a line that grows would take quadratic time.
    const auto text = QStringView(line.text).sliced(offset, std::min(length, maxLength));
    appendText(text, isReplMessage);
    return text.size();
}

void TranscriptWriter::appendText(QStringView text, bool isReplMessage)
{
    if (isReplMessage != m_isReplMessage)
        writePending();
    m_isReplMessage = isReplMessage;
    while (!text.isEmpty()) {
        const auto end = std::find_if(text.cbegin(), text.cend(), endsLine);
        const auto length = static_cast<qsizetype>(end - text.cbegin());
        if (m_tail.owesLineEnd)
            writeLineEnd(length);
        appendWithinLine(text.first(length));
        m_tail.owesLineEnd = length < text.size();
        text = text.sliced(std::min(length + 1, text.size()));
    }
}

void TranscriptWriter::appendWithinLine(QStringView text)
{
    while (!text.isEmpty()) {
        qsizetype take = std::min(TranscriptBlock::maxLength - m_tail.blockLength, text.size());
        if (take > 0 && take < text.size() && text[take - 1].isHighSurrogate())
            --take;
        if (take <= 0) {
            startBlock(true);
            continue;
        }
        m_pending.append(text.first(take));
        m_tail.blockLength += take;
        text = text.sliced(take);
    }
}

// Called before a line is written. \p nextLength is how many of its characters are known.
void TranscriptWriter::writeLineEnd(qsizetype nextLength)
{
    m_tail.owesLineEnd = false;
    const qsizetype room = TranscriptBlock::maxLength - m_tail.blockLength - 1;
    if (!m_sharesBlocks || room < std::max(nextLength, roomForLine)) {
        startBlock(false);
        return;
    }
    m_pending.append(QChar::LineSeparator);
    ++m_tail.blockLength;
    ++m_tail.blockLines;
}

void TranscriptWriter::writePending()
{
    if (m_pending.isEmpty())
        return;
    std::replace_if(m_pending.begin(), m_pending.end(), isReserved,
                    QChar(QChar::ReplacementCharacter));
    m_cursor.insertText(m_pending, m_formats.format(m_kind, m_isReplMessage));
    m_pending.resize(0);
    if (m_tail.blockLines > 1) {
        // A block that has not been laid out has a line count of 1.
        QTextBlock block = m_cursor.block();
        TranscriptBlock state = TranscriptBlock::of(block);
        state.lines = m_tail.blockLines;
        block.setUserState(state.packed());
        block.setLineCount(std::max(block.lineCount(), m_tail.blockLines));
        m_hasSetLines = true;
    }
}

void TranscriptWriter::startBlock(bool continuesLine)
{
    writePending();
    m_cursor.insertBlock();
    markBlock(continuesLine);
    QTextBlock passed = m_document.findBlockByNumber(m_cursor.block().blockNumber() - keptLayouts);
    if (passed.isValid())
        passed.clearLayout();
}

void TranscriptWriter::markBlock(bool continuesLine)
{
    m_cursor.block().setUserState(TranscriptBlock{m_kind, continuesLine, 1, m_run}.packed());
    m_tail.blockLength = 0;
    m_tail.blockLines = 1;
}

} // namespace Korvane
