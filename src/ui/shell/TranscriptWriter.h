#pragma once

#include "base/Records.h"

#include <QString>
#include <QStringView>
#include <QTextCursor>

#include <functional>

class QTextBlock;
class QTextCharFormat;
class QTextDocument;

namespace Korvane {

/// What the Shell's document keeps of each of its blocks, in the block's user state.
struct TranscriptBlock
{
    /// Characters.
    static constexpr qsizetype maxLength = 2000;

    REPLLine::Kind kind = REPLLine::Kind::Output;
    /// No line end is between the previous block and this one.
    bool continuesLine = false;
    /// How many lines share the block.
    int lines = 1;
    /// The run that wrote the block, as of REPLLine::run.
    int run = 0;

    [[nodiscard]] static TranscriptBlock of(const QTextBlock &block);
    [[nodiscard]] int packed() const;
};

/// The state of the end of the document, where the next characters are written.
struct TranscriptTail
{
    /// The first block of the line exists.
    bool isLineBegun = false;
    /// A line end was taken; it is shown when something follows.
    bool owesLineEnd = false;
    /// Characters in the last block.
    qsizetype blockLength = 0;
    /// Lines that share the last block.
    int blockLines = 1;
};

/// Writes lines of the Shell at the end of a document, within one edit block that ends with this
/// object. A long line is divided into several blocks; where a lot is waiting, several lines share
/// a block.
class TranscriptWriter final
{
public:
    using Format = std::function<const QTextCharFormat &(REPLLine::Kind, bool isReplMessage)>;

    /// Borrows \p document and \p tail.
    TranscriptWriter(QTextDocument &document, TranscriptTail &tail, Format format);
    ~TranscriptWriter();
    TranscriptWriter(const TranscriptWriter &) = delete;
    TranscriptWriter &operator=(const TranscriptWriter &) = delete;

    /// Continues with a line of which \p waiting characters are not written yet. \p isFirst: the
    /// first line of the document, which goes into the block that every document begins with.
    void enterLine(const REPLLine &line, qsizetype waiting, bool isFirst);
    /// \p isReplMessage: what the board's REPL itself said.
    void append(QStringView text, bool isReplMessage = false);

private:
    void appendWithinLine(QStringView text);
    void writeLineEnd(qsizetype nextLength);
    void writePending();
    void startBlock(bool continuesLine);
    void markBlock(bool continuesLine);

    QTextDocument &m_document;
    TranscriptTail &m_tail;
    const Format m_format;
    QTextCursor m_cursor;
    REPLLine::Kind m_kind = REPLLine::Kind::Output;
    int m_run = 0;
    bool m_isReplMessage = false; // what is pending
    QString m_pending;
    bool m_sharesBlocks = false;
};

} // namespace Korvane
