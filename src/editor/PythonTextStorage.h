#pragma once

#include "editor/PythonColouring.h"

#include <QTextCharFormat>
#include <QTextDocument>
#include <QTextLayout>

#include <array>
#include <vector>

class QTextBlock;

namespace Korvane {

class EditorColours;
class PythonTextLayout;

/// The text of one Python source with its undo history, coloured anew after each change of its
/// characters.
///
/// The colours of the whole text are always known. They become formats of the toolkit's layouts
/// only where somebody looks (`showColours`): a key in a long file then costs one scan of the text
/// and new layouts for the few visible lines whose colours changed. Formats are neither edits nor
/// part of the undo history.
class PythonTextStorage final : public QTextDocument
{
    Q_OBJECT

public:
    /// A line with more characters than this is shown in plain colour: laying out the pieces of
    /// such a line takes several times as long as the line alone.
    static constexpr int longestColouredLine = 100'000;

    explicit PythonTextStorage(const EditorColours &colours, QObject *parent = nullptr);

    /// Exactly what was set and edited, with "\n" line ends.
    [[nodiscard]] const QString &text() const { return m_text; }
    /// Replaces everything and forgets the undo history, which belongs to the text before.
    void setText(const QString &text);
    void setColours(const EditorColours &colours);

    [[nodiscard]] PythonToken tokenAt(int position) const
    {
        return m_tokens[static_cast<size_t>(position)];
    }
    /// Gives the layouts of \p count blocks from \p first on the formats that go with their
    /// colours, where they have others. Does nothing in the middle of an edit.
    void showColours(const QTextBlock &first, int count);

signals:
    /// The colours are those of new characters or another palette. The document is not laid out
    /// yet: time for `showColours`, and nothing else.
    void coloured();
    /// The characters have changed, otherwise than by `setText`.
    void edited();

private:
    void follow(int from, int removed, int added);
    [[nodiscard]] QString characters(int from, int count) const;
    [[nodiscard]] QList<QTextLayout::FormatRange> formats(const QTextBlock &block) const;

    PythonTextLayout *m_layout;
    std::array<QTextCharFormat, pythonTokenCount> m_formats;
    QString m_text;
    std::vector<PythonToken> m_tokens;
    int m_colouredRevision = 0;
    bool m_isSetting = false;
    bool m_isEdited = false;
};

} // namespace Korvane
