#include "editor/EditorMarks.h"

#include "editor/CodeEditorView.h"
#include "theme/Theme.h"

#include <QPaintEvent>
#include <QPainter>
#include <QTextDocument>

#include <cmath>
#include <utility>

namespace Korvane {

EditorMarks::EditorMarks(CodeEditorView &view)
    : QObject(&view)
    , m_view(view)
{
    connect(&view, &QPlainTextEdit::cursorPositionChanged, this, &EditorMarks::updateMarks);
    // An edit may change the pair without moving the caret.
    connect(&view, &CodeEditorView::contentShown, this, &EditorMarks::updateMarks);
}

void EditorMarks::setLineLength(int column)
{
    if (std::exchange(m_lineLength, column) != column)
        m_view.viewport()->update();
}

void EditorMarks::updateMarks()
{
    const int line = m_view.currentLine();
    const int before = std::exchange(m_line, line);
    if (line != before) {
        for (const int changed : {before, line}) {
            if (const auto rect = lineRect(changed))
                m_view.viewport()->update(*rect);
        }
    }
    findBrackets();
}

void EditorMarks::findBrackets()
{
    const QTextCursor caret = m_view.textCursor();
    const SearchState place{m_view.document(), m_view.document()->revision(),
                            caret.hasSelection() ? -1 : caret.position()};
    // A key press changes the text and moves the caret; the text is scanned once for both signals.
    if (place == m_searchState)
        return;
    m_searchState = place;
    updateBrackets();
    m_brackets = place.caret < 0 ? std::nullopt : bracketAt(m_view.text(), place.caret);
    updateBrackets();
}

void EditorMarks::updateBrackets()
{
    if (!m_brackets)
        return;
    for (const int position : {m_brackets->position, m_brackets->match.value_or(-1)}) {
        if (const auto rect = bracketRect(position))
            m_view.viewport()->update(rect->toAlignedRect().adjusted(-1, -1, 1, 1));
    }
}

void EditorMarks::paint(const QPaintEvent &event) const
{
    const Theme &theme = Theme::of(m_view.palette());
    QPainter painter(m_view.viewport());
    if (const auto line = lineRect(m_view.currentLine()); line && line->intersects(event.rect()))
        painter.fillRect(*line, theme.color(Theme::Role::CurrentLine));
    if (m_lineLength > 0) {
        const qreal columnWidth = QFontMetricsF(m_view.font()).horizontalAdvance(u' ');
        const qreal x = m_view.document()->documentMargin() + m_lineLength * columnWidth;
        painter.fillRect(QRectF(std::round(x), event.rect().top(), 1, event.rect().height()),
                         theme.color(Theme::Role::Separator));
    }
    if (!m_brackets)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    paintBracket(painter, m_brackets->position);
    if (m_brackets->match)
        paintBracket(painter, *m_brackets->match);
}

void EditorMarks::paintBracket(QPainter &painter, int position) const
{
    const auto rect = bracketRect(position);
    if (!rect)
        return;
    const Theme &theme = Theme::of(m_view.palette());
    const bool isPair = m_brackets->match.has_value();
    painter.setPen(theme.color(isPair ? Theme::Role::Accent : Theme::Role::Red));
    painter.setBrush(isPair ? QBrush(theme.color(Theme::Role::AccentTint)) : QBrush(Qt::NoBrush));
    painter.drawRoundedRect(rect->adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
}

std::optional<QRect> EditorMarks::lineRect(int line) const
{
    for (const CodeEditorView::LineRows &rows : m_view.visibleLines()) {
        if (rows.line == line)
            return QRectF(0, rows.top, m_view.viewport()->width(), rows.height).toAlignedRect();
    }
    return std::nullopt;
}

std::optional<QRectF> EditorMarks::bracketRect(int position) const
{
    // The place of a character out of view is not known without a layout of all lines up to it.
    const auto [start, end] = m_view.visibleRange();
    if (position < start || position >= end || position >= m_view.text().size())
        return std::nullopt;
    QTextCursor cursor(m_view.document());
    cursor.setPosition(position);
    QRectF rect = m_view.cursorRect(cursor);
    rect.setWidth(QFontMetricsF(m_view.font()).horizontalAdvance(m_view.text()[position]));
    return rect;
}

} // namespace Korvane
