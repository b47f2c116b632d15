#include "document/PythonTextLayout.h"

#include <QTextBlock>
#include <QTextLayout>

#include <utility>

namespace Korvane {

void PythonTextLayout::expectEdit(int from, int removed, int added)
{
    m_edit = Edit{from, removed, added};
}

void PythonTextLayout::expectColors(const QTextBlock &block)
{
    m_colored.append({block.position(), block.layout()->lineCount()});
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
        return; // it gets its lines when it is shown
    const QTextBlock block = document()->findBlock(colored.position);
    blockBoundingRect(block); // lays it out
    // The base class compares heights to see whether the blocks below have moved. It cannot where
    // the old lines are gone.
    if (block.layout()->lineCount() == colored.lineCount)
        emit updateBlock(block);
    else
        emit update();
}

} // namespace Korvane
