#include "editor/LineNumberRulerView.h"

#include "editor/CodeEditorView.h"
#include "theme/Theme.h"

#include <QFontInfo>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace Korvane {

namespace {

/// The size of the numbers relative to that of the code: 11 pixels for 13.
constexpr double numberSize = 11.0 / 13.0;

QString listed(const QSet<int> &lines)
{
    QList<int> sorted(lines.cbegin(), lines.cend());
    std::sort(sorted.begin(), sorted.end());
    QStringList numbers;
    for (const int line : std::as_const(sorted))
        numbers << QString::number(line);
    return numbers.join(QStringLiteral(", "));
}

} // namespace

LineNumberRulerView::LineNumberRulerView(CodeEditorView &textView)
    : QWidget(&textView)
    , m_textView(&textView)
{
    setObjectName(QStringLiteral("gutter"));
    setCursor(Qt::PointingHandCursor);
    setContextMenuPolicy(Qt::PreventContextMenu); // the editor's entries act on the caret's line
    setAccessibleName(tr("Line numbers and breakpoints"));
    describe();
}

void LineNumberRulerView::setBreakpoints(const QSet<int> &lines)
{
    if (lines == m_breakpoints)
        return;
    m_breakpoints = lines;
    describe();
    update();
}

void LineNumberRulerView::setActiveBreakpoints(const QSet<int> &lines)
{
    if (lines == m_activeBreakpoints)
        return;
    m_activeBreakpoints = lines;
    describe();
    update();
}

void LineNumberRulerView::setPausedLine(std::optional<int> line)
{
    if (line == m_pausedLine)
        return;
    m_pausedLine = line;
    describe();
    update();
}

int LineNumberRulerView::thickness() const
{
    const int lineCount = m_textView->lineCount();
    // Without measuring text, which would load the font at the start.
    const bool isStandard =
        m_textView->font().pixelSize() <= CodeEditorView::defaultFont().pixelSize();
    if (lineCount < 100 && isStandard)
        return standardThickness;
    constexpr qreal gap = 3;
    const QString widest(QString::number(lineCount).size(), u'9');
    const qreal number = QFontMetricsF(numberFont(QFont::Bold)).horizontalAdvance(widest);
    const qreal needed = markerColumn + markerDiameter / 2 + gap + number + numberMargin;
    return std::max(standardThickness, static_cast<int>(std::ceil(needed)));
}

void LineNumberRulerView::paintEvent(QPaintEvent *event)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(event->rect(), palette().color(QPalette::Window));
    const Theme &colors = Theme::of(palette());
    const QFont font = numberFont(QFont::Normal);
    const QFont pausedFont = numberFont(QFont::Bold);
    const QColor red = colors.color(Theme::Role::BreakpointMarker);

    for (const CodeEditorView::LineRows &row : m_textView->visibleLines()) {
        const QRectF rows(0, row.top, width(), row.height);
        if (!rows.intersects(event->rect()))
            continue;
        const bool isPaused = row.line == m_pausedLine;
        if (isPaused)
            painter.fillRect(rows, colors.color(Theme::Role::PausedBand));
        if (!row.isStart)
            continue;

        const bool hasBreakpoint = m_breakpoints.contains(row.line);
        if (hasBreakpoint || m_activeBreakpoints.contains(row.line)) {
            const QPointF center(markerColumn, row.top + row.firstRowHeight / 2);
            painter.setPen(hasBreakpoint ? QPen(Qt::NoPen) : QPen(red, activeMarkerWidth));
            painter.setBrush(hasBreakpoint ? QBrush(red) : QBrush(Qt::NoBrush));
            painter.drawEllipse(center, markerDiameter / 2, markerDiameter / 2);
        }

        painter.setFont(isPaused ? pausedFont : font);
        painter.setPen(colors.color(isPaused ? Theme::Role::Label : Theme::Role::SecondaryLabel));
        painter.drawText(QRectF(0, row.top, width() - numberMargin, row.firstRowHeight),
                         Qt::AlignRight | Qt::AlignTop | Qt::TextDontClip,
                         QString::number(row.line));
    }
    painter.fillRect(QRectF(width() - 1, 0, 1, height()), colors.color(Theme::Role::Separator));
}

void LineNumberRulerView::mousePressEvent(QMouseEvent *event)
{
    event->accept(); // not passed on to the editor
    if (event->button() != Qt::LeftButton)
        return;
    for (const CodeEditorView::LineRows &row : m_textView->visibleLines()) {
        const qreal y = event->position().y() - row.top;
        if (y >= 0 && y < row.height) {
            if (onToggleBreakpoint)
                onToggleBreakpoint(row.line);
            return;
        }
    }
}

void LineNumberRulerView::mouseMoveEvent(QMouseEvent *event)
{
    event->accept();
}

void LineNumberRulerView::mouseReleaseEvent(QMouseEvent *event)
{
    event->accept();
}

void LineNumberRulerView::wheelEvent(QWheelEvent *event)
{
    // The editor handles wheel events of its viewport only.
    QCoreApplication::sendEvent(m_textView->viewport(), event);
}

void LineNumberRulerView::describe()
{
    QStringList parts;
    if (!m_breakpoints.isEmpty())
        parts << (m_breakpoints.size() == 1 ? tr("Breakpoint on line %1")
                                            : tr("Breakpoints on lines %1"))
                     .arg(listed(m_breakpoints));
    if (const QSet<int> rest = m_activeBreakpoints - m_breakpoints; !rest.isEmpty())
        parts << (rest.size() == 1 ? tr("still armed on line %1") : tr("still armed on lines %1"))
                     .arg(listed(rest));
    if (m_pausedLine)
        parts << tr("paused at line %1").arg(*m_pausedLine);
    QString description = parts.isEmpty() ? tr("No breakpoints") : parts.join(tr("; "));
    description[0] = description[0].toUpper();
    setAccessibleDescription(description);
}

QFont LineNumberRulerView::numberFont(QFont::Weight weight) const
{
    // The desktop's font: nearly all such fonts have digits of equal width.
    QFont font = QGuiApplication::font();
    font.setPixelSize(std::max(1, qRound(QFontInfo(m_textView->font()).pixelSize() * numberSize)));
    font.setWeight(weight);
    return font;
}

} // namespace Korvane
