#include "document/EditorFile.h"

#include "document/PythonTextStorage.h"
#include "theme/Theme.h"

#include <utility>

namespace Korvane {

DocumentText DocumentText::fromFile(const QString &fileText)
{
    DocumentText text;
    text.content = text.format.detach(fileText);
    return text;
}

EditorFile::EditorFile(const QString &name, const DocumentPlace &place, const DocumentText &text,
                       QObject *parent)
    : QObject(parent)
    , m_name(name)
    , m_place(place)
    , m_storage(new PythonTextStorage(Theme::light(), this))
    , m_format(text.format)
    , m_saved(text)
{
    if (!text.content.isEmpty())
        m_storage->setText(text.content);
    connect(m_storage, &PythonTextStorage::linesEdited, this, &EditorFile::follow);
    connect(m_storage, &PythonTextStorage::edited, this, &EditorFile::handleEdited);
}

EditorFile::~EditorFile() = default;

QString EditorFile::untitledName(qsizetype number)
{
    return number == 1 ? QStringLiteral("untitled.py")
                       : QStringLiteral("untitled%1.py").arg(number);
}

QString EditorFile::path() const
{
    return m_place.kind == DocumentPlace::Kind::Local ? m_place.path : QString();
}

QString EditorFile::devicePath() const
{
    return m_place.kind == DocumentPlace::Kind::Board ? m_place.path : QString();
}

void EditorFile::moveTo(const QString &name, const DocumentPlace &place)
{
    if (name == m_name && place == m_place)
        return;
    m_name = name;
    m_place = place;
    emit changed();
}

const QString &EditorFile::content() const
{
    return m_storage->text();
}

void EditorFile::setContent(const QString &content)
{
    m_storage->replaceText(content);
}

void EditorFile::reload(const DocumentText &text)
{
    m_saved = text;
    ++m_savedNumber;
    m_storage->replaceText(text.content);
    m_format = text.format;
    updateModified();
    setFileChange(FileChange::None);
}

void EditorFile::setSavedText(const std::optional<DocumentText> &text)
{
    m_saved = text;
    ++m_savedNumber;
    updateModified();
    setFileChange(FileChange::None);
}

void EditorFile::setFileChange(FileChange change)
{
    if (std::exchange(m_fileChange, change) != change)
        emit changed();
}

void EditorFile::toggleBreakpoint(int line)
{
    m_breakpoints.toggle(line);
    emit breakpointsChanged();
}

void EditorFile::clearBreakpoints()
{
    if (m_breakpoints.lines().isEmpty())
        return;
    m_breakpoints.clear();
    emit breakpointsChanged();
}

void EditorFile::moveBreakpoints(int firstLine, int lastLine, int by)
{
    m_breakpoints.moveLines(firstLine, lastLine, by);
    emit breakpointsChanged();
}

void EditorFile::setDebugLines(const QSet<int> &armed, std::optional<int> paused)
{
    if (armed == m_armedLines && paused == m_pausedLine)
        return;
    m_armedLines = armed;
    m_pausedLine = paused;
    emit debugLinesChanged();
}

void EditorFile::follow(const LineEdit &edit, int undoSteps, bool isHistory)
{
    m_format.edited(edit.firstLine, edit.removedLines, edit.addedLines);
    if (m_breakpoints.follow(edit, undoSteps, isHistory))
        m_haveBreakpointsMoved = true;
}

void EditorFile::handleEdited()
{
    emit contentChanged();
    updateModified();
    if (std::exchange(m_haveBreakpointsMoved, false))
        emit breakpointsChanged();
}

void EditorFile::updateModified()
{
    // Sizes are compared first: most keys need no look at the text.
    const bool isSame = m_saved && m_saved->content == content();
    // Undoing the removal of a line does not restore its line end in a file that mixes them.
    if (isSame)
        m_format = m_saved->format;
    if (std::exchange(m_isModified, !isSame) == isSame)
        emit changed();
}

} // namespace Korvane
