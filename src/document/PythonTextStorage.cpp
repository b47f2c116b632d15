#include "document/PythonTextStorage.h"

#include "document/PythonTextLayout.h"
#include "theme/CodeColors.h"

#include <QScopedValueRollback>
#include <QTextBlock>

#include <algorithm>
#include <utility>

namespace Korvane {

PythonTextStorage::PythonTextStorage(const CodeColors &colors, QObject *parent)
    : QTextDocument(parent)
    , m_layout(new PythonTextLayout(this))
{
    setDocumentLayout(m_layout); // which takes it
    setUndoRedoEnabled(true);
    connect(this, &QTextDocument::contentsChange, this, &PythonTextStorage::follow);
    connect(this, &QTextDocument::contentsChanged, this, [this] {
        m_coloredRevision = revision(); // an edit of nothing counts as well
        if (std::exchange(m_isEdited, false))
            emit edited();
    });
    setColors(colors);
}

void PythonTextStorage::setText(const QString &text)
{
    const QScopedValueRollback guard(m_isSetting, true);
    setPlainText(text);
    setModified(false);
}

void PythonTextStorage::setColors(const CodeColors &colors)
{
    for (int token = 0; token < pythonTokenCount; ++token)
        m_formats[static_cast<size_t>(token)].setForeground(
            colors.color(PythonColoring::role(static_cast<PythonToken>(token))));
    emit colored();
}

void PythonTextStorage::follow(int from, int removed, int added)
{
    m_layout->expectEdit(from, removed, added);
    // Where the whole text changes, the toolkit counts the end of the last block as a character.
    const int size = characterCount() - 1;
    const int oldSize = static_cast<int>(m_text.size());
    added = std::min(added, size - from);
    removed = std::min(removed, oldSize - from);
    if (oldSize - removed + added != size) {
        from = 0;
        removed = oldSize;
        added = size;
    }

    const QString inserted = characters(from, added);
    // Text that an input method is composing changes the layout and not the characters.
    if (QStringView(m_text).sliced(from, removed) != inserted) {
        m_text.replace(from, removed, inserted);
        PythonColoring::color(m_text, m_tokens);
        m_isEdited = m_isEdited || !m_isSetting;
    }
    m_coloredRevision = revision();
    emit colored();
}

/// Line ends as "\n", and nothing else changed, as it would be in `toPlainText`.
QString PythonTextStorage::characters(int from, int count) const
{
    if (from == 0 && count == characterCount() - 1)
        return toRawText().replace(QChar::ParagraphSeparator, u'\n');
    QString result;
    for (QTextBlock block = findBlock(from); block.isValid() && result.size() < count;
         block = block.next()) {
        const int start = std::max(0, from - block.position());
        result += QStringView(block.text()).sliced(start);
        result += u'\n';
    }
    result.truncate(count);
    return result;
}

void PythonTextStorage::showColors(const QTextBlock &first, int count)
{
    if (revision() != m_coloredRevision)
        return;
    bool hasChanged = false;
    for (QTextBlock block = first; block.isValid() && count > 0; block = block.next(), --count) {
        const QList<QTextLayout::FormatRange> wanted = formats(block);
        if (block.layout()->formats() == wanted)
            continue;
        m_layout->expectColors(block);
        block.layout()->setFormats(wanted);
        hasChanged = true;
    }
    if (hasChanged)
        markContentsDirty(first.position(), 0);
}

/// What the layout of \p block should have. Text that an input method is composing there keeps the
/// formats that it came with, and parts what stands before and behind it.
QList<QTextLayout::FormatRange> PythonTextStorage::formats(const QTextBlock &block) const
{
    const QTextLayout &layout = *block.layout();
    const int composed = static_cast<int>(layout.preeditAreaText().size());
    const int length = block.length() - 1;
    const int gap = composed > 0 ? layout.preeditAreaPosition() : length;

    QList<QTextLayout::FormatRange> ranges;
    const PythonToken *tokens = m_tokens.data() + block.position();
    const int end = length <= longestColoredLine ? length : 0;
    for (int start = 0; start < end;) {
        const int border = start < gap ? std::min(gap, end) : end;
        int stop = start + 1;
        while (stop < border && tokens[stop] == tokens[start])
            ++stop;
        if (tokens[start] != PythonToken::Plain)
            ranges.append({start < gap ? start : start + composed, stop - start,
                           m_formats[static_cast<size_t>(tokens[start])]});
        start = stop;
    }
    if (composed > 0) {
        for (const QTextLayout::FormatRange &range : layout.formats()) {
            if (range.start >= gap && range.start + range.length <= gap + composed)
                ranges.append(range);
        }
    }
    return ranges;
}

} // namespace Korvane
