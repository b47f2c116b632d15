#pragma once

#include <QSet>

#include <map>

namespace Korvane {

/// Which lines an edit of a text replaced. Lines count from 0.
struct LineEdit
{
    int firstLine = 0;
    /// Line ends that were removed and inserted.
    int removedLines = 0;
    int addedLines = 0;
    bool removesCharacters = false;
    /// The edit begins at the start of the first line.
    bool startsLine = false;
    /// No characters of the last line follow the edit.
    bool endsLine = false;
};

/// Marked lines of a text (from 1) that move with their lines while the text is edited. Removing a
/// line removes its mark, and undoing that restores it.
class LineMarks final
{
public:
    /// Whether a mark moves with the characters of its line, or with the line end above it.
    enum class Belongs { ToText, ToLineEnd };
    /// The marks after an edit that sets marks itself: in the lines from `firstLine` to `lastLine`,
    /// or in the whole text with `isWholeText`, exactly `lines` are marked.
    struct Inserted
    {
        int firstLine = 0;
        int lastLine = 0;
        bool isWholeText = false;
        QSet<int> lines = {};
    };

    LineMarks() = default;
    explicit LineMarks(Belongs belongs)
        : m_belongs(belongs)
    {
    }

    /// Sets the mark of \p line or removes it.
    void toggle(int line);
    void clear();
    /// Moves the marks of the lines from \p first to \p last by \p by lines, 1 or -1; the mark of
    /// the line that they pass moves to their other side. Called after the edit that moved the
    /// lines.
    void moveLines(int first, int last, int by);
    /// Moves the marks after an edit that brought the text into the state \p undoSteps of its undo
    /// history; \p isHistory when it was undone or redone. Returns whether a mark has moved.
    bool follow(const LineEdit &edit, int undoSteps, bool isHistory,
                const Inserted *inserted = nullptr);

    [[nodiscard]] const QSet<int> &lines() const { return m_lines; }

private:
    [[nodiscard]] QSet<int> marksAfter(const LineEdit &edit, const Inserted *inserted) const;

    Belongs m_belongs = Belongs::ToText;
    QSet<int> m_lines;
    int m_undoSteps = 0;
    /// The marks in each known state of the undo history. Cleared by toggle() and clear(): undoing
    /// then only moves marks.
    std::map<int, QSet<int>> m_history;
};

} // namespace Korvane
