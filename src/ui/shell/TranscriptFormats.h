#pragma once

#include "base/Records.h"

#include <QTextCharFormat>

class QTextDocument;

namespace Korvane {

class Theme;

/// The character formats of the Shell's text: one for each kind of line, and one for the messages
/// of the board's REPL within a line of output.
class TranscriptFormats final
{
public:
    /// The formats get the colors of \p theme. Text that is in a document keeps its colors until
    /// applyTo.
    void setColors(const Theme &theme);
    [[nodiscard]] const QTextCharFormat &format(REPLLine::Kind kind, bool isReplMessage) const;
    /// Gives the text of \p document, written by TranscriptWriter, the current formats.
    void applyTo(QTextDocument &document) const;

private:
    QTextCharFormat m_plain; // input and output; without a color, so that it follows the palette
    QTextCharFormat m_error;
    QTextCharFormat m_info;
    QTextCharFormat m_replMessage;
};

} // namespace Korvane
