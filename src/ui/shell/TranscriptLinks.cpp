#include "ui/shell/TranscriptLinks.h"

#include "app/TracebackLink.h"
#include "ui/shell/TranscriptWriter.h"

#include <QPainter>
#include <QTextBlock>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace Korvane::TranscriptLinks {

namespace {

/// The link in the line that starts at \p start of \p text, the text of \p block.
std::optional<Link> inLine(const QTextBlock &block, const QString &text, qsizetype start)
{
    qsizetype end = text.indexOf(QChar::LineSeparator, start);
    if (end < 0)
        end = text.size();
    const auto found = TracebackLink::find(QStringView(text).sliced(start, end - start));
    if (!found)
        return std::nullopt;
    return Link{block.position() + static_cast<int>(start + found->start),
                static_cast<int>(found->length), found->file, found->line,
                TranscriptBlock::of(block).run};
}

/// The start of the line of \p text that has \p position.
qsizetype lineStart(const QString &text, qsizetype position)
{
    return position == 0 ? 0 : text.lastIndexOf(QChar::LineSeparator, position - 1) + 1;
}

} // namespace

std::optional<Link> inLineOf(const QTextCursor &cursor)
{
    const QString text = cursor.block().text();
    return inLine(cursor.block(), text, lineStart(text, cursor.positionInBlock()));
}

std::optional<Link> before(const QTextCursor &cursor)
{
    QTextBlock block = cursor.block();
    QString text = block.text();
    qsizetype start = lineStart(text, cursor.positionInBlock());
    while (true) {
        while (start > 0) {
            start = lineStart(text, start - 1);
            if (auto link = inLine(block, text, start))
                return link;
        }
        block = block.previous();
        if (!block.isValid())
            return std::nullopt;
        text = block.text();
        start = text.size() + 1;
    }
}

void underline(QPainter &painter, const QTextBlock &block, const QPointF &origin)
{
    const QString text = block.text();
    const QTextLayout *layout = block.layout();
    for (qsizetype start = 0; start >= 0 && start <= text.size();) {
        if (const auto link = inLine(block, text, start)) {
            const int first = link->start - block.position();
            const int last = first + link->length;
            for (int i = 0; i < layout->lineCount(); ++i) {
                const QTextLine row = layout->lineAt(i);
                const int from = std::max(first, row.textStart());
                const int to = std::min(last, row.textStart() + row.textLength());
                if (from >= to)
                    continue;
                const qreal y = std::round(origin.y() + row.y() + row.ascent()) + 1.5;
                painter.drawLine(QPointF(origin.x() + row.cursorToX(from), y),
                                 QPointF(origin.x() + row.cursorToX(to), y));
            }
        }
        const qsizetype end = text.indexOf(QChar::LineSeparator, start);
        start = end < 0 ? -1 : end + 1;
    }
}

} // namespace Korvane::TranscriptLinks
