#pragma once

#include <QPointer>
#include <QSet>
#include <QWidget>

#include <functional>
#include <optional>

namespace Korvane {

class CodeEditorView;

/// The gutter on the left of the editor: line numbers, breakpoints, and the line at which a debug
/// run is paused. A click anywhere in the rows of a line calls onToggleBreakpoint. Lines are those
/// of the source, 1-based; one that is wrapped has its number and its dot on its first row.
///
/// All measures are logical pixels.
class LineNumberRulerView final : public QWidget
{
    Q_OBJECT

public:
    static constexpr int standardThickness = 44;
    static constexpr qreal markerColumn = 14;
    static constexpr qreal markerDiameter = 9;
    static constexpr qreal activeMarkerWidth = 1.5;
    static constexpr qreal numberMargin = 6;

    explicit LineNumberRulerView(CodeEditorView &textView);

    /// Lines where the document has a breakpoint: filled dots.
    void setBreakpoints(const QSet<int> &lines);
    /// Lines armed in the running debug session: rings, where the document has no breakpoint.
    void setActiveBreakpoints(const QSet<int> &lines);
    void setPausedLine(std::optional<int> line);

    /// The required width. From 100 lines on it is more than the standard: numbers of three digits
    /// would touch the dots.
    [[nodiscard]] int thickness() const;

    /// Called with the line that was clicked.
    std::function<void(int line)> onToggleBreakpoint;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void describe();
    [[nodiscard]] QFont numberFont(QFont::Weight weight) const;

    QPointer<CodeEditorView> m_textView;
    QSet<int> m_breakpoints;
    QSet<int> m_activeBreakpoints;
    std::optional<int> m_pausedLine;
};

} // namespace Korvane
