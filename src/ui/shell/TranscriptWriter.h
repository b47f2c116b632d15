#pragma once

#include "base/Records.h"

#include <QString>
#include <QStringView>
#include <QTextCursor>

class QTextBlock;
class QTextDocument;

namespace Korvane {

class TranscriptFormats;

/// The data of a block of the Shell's document, stored in the block's user state.
struct TranscriptBlock
{
    /// Characters.
    static constexpr qsizetype maxLength = 2000;

    REPLLine::Kind kind = REPLLine::Kind::Output;
    /// There is no line end between the previous block and this one.
    bool continuesLine = false;
    /// How many lines share the block.
    int lines = 1;
    /// The run that wrote the block: the value of REPLLine::run.
    int run = 0;

    [[nodiscard]] static TranscriptBlock of(const QTextBlock &block);
    [[nodiscard]] int packed() const;
    /// The selected text as it was printed: without the ends of blocks within a line.
    [[nodiscard]] static QString printedText(const QTextCursor &selection);
};

/// The state of the end of the document, where the next characters are written.
struct TranscriptTail
{
    /// The first block of the line exists.
    bool isLineBegun = false;
    /// A line end was copied; it is shown when something follows.
    bool owesLineEnd = false;
    /// Characters in the last block.
    qsizetype blockLength = 0;
    /// Lines that share the last block.
    int blockLines = 1;
};

/// Writes lines of the Shell at the end of a document, within one edit block that ends with this
/// object. A long line is divided into several blocks; where much text is waiting, several lines
/// share a block.
class TranscriptWriter final
{
public:
    /// All three must outlive this.
    TranscriptWriter(QTextDocument &document, TranscriptTail &tail,
                     const TranscriptFormats &formats);
    ~TranscriptWriter();
    TranscriptWriter(const TranscriptWriter &) = delete;
    TranscriptWriter &operator=(const TranscriptWriter &) = delete;

    /// Continues with a line of which \p waiting characters are not written yet. \p isFirst: the
    /// first line of the document, which is written into the block that every document begins with.
    void enterLine(const REPLLine &line, qsizetype waiting, bool isFirst);
    /// Writes the next characters of the line from \p offset on: of one format, and \p maxLength at
    /// most. Returns how many.
    qsizetype append(const REPLLine &line, qsizetype offset, qsizetype maxLength);

private:
    void appendText(QStringView text, bool isReplMessage);
    void appendWithinLine(QStringView text);
    void writeLineEnd(qsizetype nextLength);
    void writePending();
    void startBlock(bool continuesLine);
    void markBlock(bool continuesLine);

    QTextDocument &m_document;
    TranscriptTail &m_tail;
    const TranscriptFormats &m_formats;
    QTextCursor m_cursor;
    REPLLine::Kind m_kind = REPLLine::Kind::Output;
    int m_run = 0;
    bool m_isReplMessage = false; // m_pending is one
    QString m_pending;
    bool m_sharesBlocks = false;
    bool m_hasSetLines = false; // the line count of a block was set
};

} // namespace Korvane
