#pragma once

#include "document/LineMarks.h"
#include "document/PythonColoring.h"

#include <QTextCharFormat>
#include <QTextDocument>
#include <QTextLayout>

#include <array>
#include <vector>

class QTextBlock;

namespace Korvane {

class Theme;

/// The text of one Python source with its undo history, colored again after each change of its
/// characters.
///
/// The colors of the whole text are computed after each change. They are set as formats of the text
/// layouts only for the blocks that are shown (`showColors`): a key press in a long file then needs
/// one scan of the text and new layouts for the few visible lines whose colors changed. Formats are
/// neither edits nor part of the undo history.
class PythonTextStorage final : public QTextDocument
{
    Q_OBJECT

public:
    /// A line with more characters than this is shown in plain color: laying out the pieces of
    /// such a line takes several times as long as the line alone.
    static constexpr int longestColoredLine = 100'000;

    /// Around the text, in pixels.
    static constexpr int margin = 5;

    explicit PythonTextStorage(const Theme &colors, QObject *parent = nullptr);

    /// Exactly what was set and edited, with "\n" line ends.
    [[nodiscard]] const QString &text() const { return m_text; }
    /// Replaces everything and clears the undo history.
    void setText(const QString &text);
    /// Replaces everything as one edit that can be undone. Only the part that differs is edited.
    void replaceText(const QString &text);
    void setColors(const Theme &colors);

    [[nodiscard]] PythonToken tokenAt(int position) const
    {
        return m_tokens[static_cast<size_t>(position)];
    }
    /// Sets the formats of the current colors on the layouts of \p count blocks from \p first on.
    /// Layouts that have these formats already are not changed. Does nothing during an edit.
    void showColors(const QTextBlock &first, int count);

signals:
    /// An edit of characters, as `contentsChange` reports it. Emitted before the document's layout
    /// is updated.
    void charactersEdited(int from, int removed, int added);
    /// The formats of \p block are replaced next, which discards its layout.
    void formatsAboutToChange(const QTextBlock &block);
    /// The colors were computed again, after an edit or with another palette. The document is not
    /// laid out yet: a slot may call `showColors`, and nothing else.
    void colored();
    /// The characters have changed, except by `setText`. \p undoSteps is the new position in the
    /// undo history; \p isHistory is true when an edit was undone or redone. The document is not
    /// laid out yet.
    void linesEdited(const LineEdit &edit, int undoSteps, bool isHistory);
    /// The characters have changed, except by `setText`, and the document is laid out.
    void edited();
    /// Emitted before and after a change by `replaceText`.
    void textAboutToBeReplaced();
    void textReplaced();

private:
    void handleContentsChange(int from, int removed, int added);
    void publishEdit(int from, QStringView before, QStringView after);
    [[nodiscard]] QString characters(int from, int count) const;
    [[nodiscard]] QList<QTextLayout::FormatRange> formats(const QTextBlock &block) const;

    std::array<QTextCharFormat, pythonTokenCount> m_formats;
    QString m_text;
    std::vector<PythonToken> m_tokens;
    int m_coloredRevision = 0;
    bool m_isSetting = false;
    bool m_isEdited = false;
    bool m_isNewUndoStep = false;
    int m_undoSteps = 0;
};

} // namespace Korvane
