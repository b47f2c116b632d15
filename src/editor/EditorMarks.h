#pragma once

#include "document/PythonScanner.h"

#include <QObject>

class QPaintEvent;
class QPainter;
class QTextDocument;

namespace Korvane {

class CodeEditorView;

/// Draws the background of the editor's text: the line of the caret, the pair of brackets at the
/// caret, and a line after a number of columns.
class EditorMarks final : public QObject
{
    Q_OBJECT

public:
    /// Child of \p view.
    explicit EditorMarks(CodeEditorView &view);

    /// Draws a line after \p column characters, or none for 0.
    void setLineLength(int column);
    /// Paints into the viewport; must be called before the text is painted.
    void paint(const QPaintEvent &event) const;

private:
    /// The text and the caret for which m_brackets was determined.
    struct SearchState
    {
        const QTextDocument *document = nullptr; // to compare only
        int revision = 0;
        int caret = -1; // -1 while something is selected

        bool operator==(const SearchState &) const = default;
    };

    void updateMarks();
    void findBrackets();
    void paintBracket(QPainter &painter, int position) const;
    [[nodiscard]] std::optional<QRect> lineRect(int line) const;
    [[nodiscard]] std::optional<QRectF> bracketRect(int position) const;
    void updateBrackets();

    CodeEditorView &m_view;
    std::optional<BracketPair> m_brackets;
    SearchState m_searchState;
    int m_line = 1;
    int m_lineLength = 0;
};

} // namespace Korvane
