#pragma once

#include <QPlainTextDocumentLayout>

#include <optional>

namespace Korvane {

/// Lays out and paints again only what has changed.
///
/// Giving a block other formats counts as a change of the document, and the toolkit joins it with
/// the edit that is under way to one change from the first to the last of them: everything between
/// would be laid out again and the whole view painted. The storage, which knows what has really
/// changed, says so here first.
class PythonTextLayout final : public QPlainTextDocumentLayout
{
public:
    using QPlainTextDocumentLayout::QPlainTextDocumentLayout;

    /// The next change is this edit of characters, as the document told of it, and what
    /// `expectColors` adds.
    void expectEdit(int from, int removed, int added);
    /// The next change gives \p block other formats, and thereby takes its lines away.
    void expectColors(const QTextBlock &block);

protected:
    void documentChanged(int from, int removed, int added) override;

private:
    struct Edit
    {
        int from;
        int removed;
        int added;
    };
    /// A block by its position and the lines it had.
    struct Colored
    {
        int position;
        int lineCount;
    };

    void showColors(const Colored &colored);

    std::optional<Edit> m_edit;
    QList<Colored> m_colored;
};

} // namespace Korvane
