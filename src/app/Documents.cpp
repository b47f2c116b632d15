#include "app/Documents.h"

#include "base/ShellSink.h"

#include <algorithm>
#include <utility>

namespace Korvane {

Documents::Documents(ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_shell(shell)
{
}

void Documents::newFile()
{
    append(EditorFile::untitled(m_openFiles.size() + 1));
}

void Documents::openTextInEditor(const QString &name, const QString &text)
{
    EditorFile file;
    file.name = name;
    file.content = text;
    append(std::move(file));
    m_shell.appendInfo(QStringLiteral("Opened %1 in the editor.").arg(name));
}

void Documents::select(const QUuid &id)
{
    if (id == m_selectedFileID || !file(id))
        return;
    m_selectedFileID = id;
    emit selectedFileChanged();
}

void Documents::updateSelectedContent(const QString &text)
{
    const QUuid id = m_selectedFileID;
    EditorFile *edited = editableFile(id);
    if (!edited)
        return;
    edited->content = text;
    const bool wasModified = std::exchange(edited->isModified, true);
    emit contentChanged(id);
    if (!wasModified)
        emit fileChanged(id);
}

void Documents::closeFile(const QUuid &id)
{
    if (m_openFiles.removeIf([&](const EditorFile &open) { return open.id == id; }) == 0)
        return;
    if (m_openFiles.isEmpty()) {
        newFile();
        return;
    }
    const bool wasSelected = id == m_selectedFileID;
    if (wasSelected)
        m_selectedFileID = m_openFiles.constFirst().id;
    emit openFilesChanged();
    if (wasSelected)
        emit selectedFileChanged();
}

const EditorFile *Documents::file(const QUuid &id) const
{
    const auto found = std::find_if(m_openFiles.cbegin(), m_openFiles.cend(),
                                    [&](const EditorFile &open) { return open.id == id; });
    return found == m_openFiles.cend() ? nullptr : &*found;
}

EditorFile *Documents::editableFile(const QUuid &id)
{
    const auto found = std::find_if(m_openFiles.begin(), m_openFiles.end(),
                                    [&](const EditorFile &open) { return open.id == id; });
    return found == m_openFiles.end() ? nullptr : &*found;
}

void Documents::append(EditorFile file)
{
    m_selectedFileID = file.id;
    m_openFiles.append(std::move(file));
    emit openFilesChanged();
    emit selectedFileChanged();
}

} // namespace Korvane
