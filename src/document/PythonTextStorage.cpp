#include "document/PythonTextStorage.h"

#include "theme/Theme.h"

#include <QAbstractTextDocumentLayout>
#include <QScopedValueRollback>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

/// The lengths of the common prefix of \p before and \p after and of the common suffix of what
/// follows it.
std::pair<qsizetype, qsizetype> sharedEnds(QStringView before, QStringView after)
{
    const qsizetype shorter = std::min(before.size(), after.size());
    const auto differs = std::mismatch(before.begin(), before.begin() + shorter, after.begin());
    const qsizetype start = differs.first - before.begin();
    qsizetype end = 0;
    while (end < shorter - start
           && before[before.size() - 1 - end] == after[after.size() - 1 - end])
        ++end;
    return {start, end};
}

/// Lays out nothing. QTextDocument reports changes only while it has a layout, and its own would
/// lay out texts that no editor shows.
class NoLayout final : public QAbstractTextDocumentLayout
{
public:
    using QAbstractTextDocumentLayout::QAbstractTextDocumentLayout;

    void draw(QPainter *, const PaintContext &) override { }
    [[nodiscard]] int hitTest(const QPointF &, Qt::HitTestAccuracy) const override { return -1; }
    [[nodiscard]] int pageCount() const override { return 1; }
    [[nodiscard]] QSizeF documentSize() const override { return {}; }
    [[nodiscard]] QRectF frameBoundingRect(QTextFrame *) const override { return {}; }
    [[nodiscard]] QRectF blockBoundingRect(const QTextBlock &) const override { return {}; }

protected:
    void documentChanged(int, int, int) override { }
};

} // namespace

PythonTextStorage::PythonTextStorage(const Theme &colors, QObject *parent)
    : QTextDocument(parent)
{
    setDocumentLayout(new NoLayout(this)); // which the editor replaces by its own
    // Before there is a history: undoing the first edit would undo this as well.
    setUndoRedoEnabled(false);
    setDocumentMargin(margin);
    setUndoRedoEnabled(true);
    connect(this, &QTextDocument::contentsChange, this, &PythonTextStorage::handleContentsChange);
    connect(this, &QTextDocument::undoCommandAdded, this, [this] { m_isNewUndoStep = true; });
    connect(this, &QTextDocument::contentsChanged, this, [this] {
        m_coloredRevision = revision(); // which also an edit that changes nothing increases
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

void PythonTextStorage::replaceText(const QString &text)
{
    const auto [start, end] = sharedEnds(m_text, text);
    if (start + end == m_text.size() && m_text.size() == text.size())
        return;
    emit textAboutToBeReplaced();
    QTextCursor cursor(this);
    cursor.setPosition(static_cast<int>(start));
    cursor.setPosition(static_cast<int>(m_text.size() - end), QTextCursor::KeepAnchor);
    cursor.insertText(text.sliced(start, text.size() - start - end));
    emit textReplaced();
}

void PythonTextStorage::setColors(const Theme &colors)
{
    for (int token = 0; token < pythonTokenCount; ++token)
        m_formats[static_cast<size_t>(token)].setForeground(
            colors.color(PythonColoring::role(static_cast<PythonToken>(token))));
    emit colored();
}

void PythonTextStorage::handleContentsChange(int from, int removed, int added)
{
    emit charactersEdited(from, removed, added);
    // Where the whole text changes, Qt counts the end of the last block as a character.
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
    const QString replaced = m_text.sliced(from, removed);
    if (replaced != inserted) {
        m_text.replace(from, removed, inserted);
        PythonColoring::color(m_text, m_tokens);
    }
    // Characters replaced by the same are a step of the undo history nevertheless.
    if (replaced != inserted || availableUndoSteps() != m_undoSteps)
        publishEdit(from, replaced, inserted);
    m_coloredRevision = revision();
    emit colored();
}

void PythonTextStorage::publishEdit(int from, QStringView before, QStringView after)
{
    const int undoSteps = availableUndoSteps();
    // An edit that joins the last step leaves their number as it was.
    const bool isNew = m_isNewUndoStep || undoSteps == m_undoSteps;
    m_isNewUndoStep = false;
    m_undoSteps = undoSteps;
    if (m_isSetting)
        return;
    m_isEdited = true;

    // An undone step of several edits is reported as one, with the text between them.
    const auto [start, end] = sharedEnds(before, after);
    const auto lineEnds = [start = start, end = end](QStringView text) {
        return static_cast<int>(text.sliced(start, text.size() - start - end).count(u'\n'));
    };
    const int first = from + static_cast<int>(start);
    const QTextBlock block = findBlock(first);
    const qsizetype endOfEdit = first + after.size() - start - end;
    emit linesEdited({.firstLine = block.blockNumber(),
                      .removedLines = lineEnds(before),
                      .addedLines = lineEnds(after),
                      .removesCharacters = before.size() > start + end,
                      .startsLine = first == block.position(),
                      .endsLine = endOfEdit == m_text.size() || m_text[endOfEdit] == u'\n'},
                     undoSteps, !isNew);
}

/// The characters with "\n" line ends. Unlike `toPlainText`, keeps no-break spaces.
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
        emit formatsAboutToChange(block);
        block.layout()->setFormats(wanted);
        hasChanged = true;
    }
    if (hasChanged)
        markContentsDirty(first.position(), 0);
}

/// The formats that the layout of \p block should have. Text that an input method is composing
/// there keeps its own formats, and splits the range of formats around it.
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
