#pragma once

#include <QString>

#include <optional>

class QPainter;
class QPointF;
class QTextBlock;
class QTextCursor;

/// The source lines that tracebacks in the Shell's document name. They are searched for in the text
/// when they are needed, and not stored.
namespace Korvane::TranscriptLinks {

struct Link
{
    /// Position in the document.
    int start = 0;
    int length = 0;
    QString file;
    int line = 0;
    /// See REPLLine::run.
    int run = 0;
};

/// The link in the line of text in which \p cursor is.
[[nodiscard]] std::optional<Link> inLineOf(const QTextCursor &cursor);
/// The last link in a line above that of \p cursor.
[[nodiscard]] std::optional<Link> before(const QTextCursor &cursor);
/// Underlines the links of \p block, whose top left corner is at \p origin, with the pen of
/// \p painter.
void underline(QPainter &painter, const QTextBlock &block, const QPointF &origin);

} // namespace Korvane::TranscriptLinks
