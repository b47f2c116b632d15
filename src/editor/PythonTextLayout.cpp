#include "editor/PythonTextLayout.h"

#include "document/PythonTextStorage.h"

#include <QFontMetricsF>
#include <QTextBlock>
#include <QTextLayout>

#include <utility>

namespace Korvane {

PythonTextLayout::PythonTextLayout(PythonTextStorage &storage)
    : QPlainTextDocumentLayout(&storage)
{
    connect(&storage, &PythonTextStorage::charactersEdited, this,
            [this](int from, int removed, int added) {
                m_edit = Edit{from, removed, added};
            });
    connect(&storage, &PythonTextStorage::formatsAboutToChange, this,
            [this](const QTextBlock &block) {
                m_colored.append({block.position(), block.layout()->lineCount()});
            });
}

void PythonTextLayout::attachTo(PythonTextStorage &storage)
{
    // A layout is a child of its document.
    if (!storage.findChild<PythonTextLayout *>(QString(), Qt::FindDirectChildrenOnly))
        storage.setDocumentLayout(new PythonTextLayout(storage));
}

void PythonTextLayout::setOptions(PythonTextStorage &storage, const Options &options)
{
    // Each of the two setters lays out the whole text.
    if (storage.defaultFont() != options.font)
        storage.setDefaultFont(options.font);
    const QTextOption current = storage.defaultTextOption();
    QTextOption option = current;
    option.setFlags(options.isWhitespaceShown ? QTextOption::ShowTabsAndSpaces
                                              : QTextOption::Flags());
    // A line that begins with a word in a right-to-left script is a line of code nevertheless.
    option.setTextDirection(Qt::LeftToRight);
    option.setWrapMode(options.wrapMode);
    option.setTabStopDistance(options.tabWidth
                              * QFontMetricsF(options.font).horizontalAdvance(u' '));
    if (current.textDirection() != option.textDirection() || current.wrapMode() != option.wrapMode()
        || current.tabStopDistance() != option.tabStopDistance()
        || current.flags() != option.flags())
        storage.setDefaultTextOption(option);
}

void PythonTextLayout::documentChanged(int from, int removed, int added)
{
    const std::optional<Edit> edit = std::exchange(m_edit, std::nullopt);
    const QList<Colored> colored = std::exchange(m_colored, {});
    if (edit)
        QPlainTextDocumentLayout::documentChanged(edit->from, edit->removed, edit->added);
    else if (colored.isEmpty())
        QPlainTextDocumentLayout::documentChanged(from, removed, added);
    for (const Colored &block : colored)
        showColors(block);
}

void PythonTextLayout::showColors(const Colored &colored)
{
    if (colored.lineCount == 0)
        return; // it is laid out when it is shown
    const QTextBlock block = document()->findBlock(colored.position);
    blockBoundingRect(block); // lays it out
    // The base class compares heights to find out whether the blocks below have moved, which it
    // can't do after the old layout was discarded.
    if (block.layout()->lineCount() == colored.lineCount)
        emit updateBlock(block);
    else
        emit update();
}

} // namespace Korvane
