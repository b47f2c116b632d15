#include "editor/PythonTextLayout.h"

#include <QTextBlock>
#include <QTextLayout>

#include <utility>

namespace Korvane {

void PythonTextLayout::expectEdit(int from, int removed, int added)
{
    m_edit = Edit{from, removed, added};
}

void PythonTextLayout::expectColours(const QTextBlock &block)
{
    m_coloured.append({block.position(), block.layout()->lineCount()});
}

void PythonTextLayout::documentChanged(int from, int removed, int added)
{
    const std::optional<Edit> edit = std::exchange(m_edit, std::nullopt);
    const QList<Coloured> coloured = std::exchange(m_coloured, {});
    if (edit)
        QPlainTextDocumentLayout::documentChanged(edit->from, edit->removed, edit->added);
    else if (coloured.isEmpty())
        QPlainTextDocumentLayout::documentChanged(from, removed, added);
    for (const Coloured &block : coloured)
        showColours(block);
}

void PythonTextLayout::showColours(const Coloured &coloured)
{
    if (coloured.lineCount == 0)
        return; // it gets its lines when it is shown
    const QTextBlock block = document()->findBlock(coloured.position);
    blockBoundingRect(block); // lays it out
    // The base class compares heights to see whether the blocks below have moved. It cannot where
    // the old lines are gone.
    if (block.layout()->lineCount() == coloured.lineCount)
        emit updateBlock(block);
    else
        emit update();
}

} // namespace Korvane
