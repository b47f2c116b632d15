#include "document/OpenFiles.h"

#include "base/LocalFile.h"
#include "base/ShellSink.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace Korvane {

OpenFiles::OpenFiles(ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_shell(shell)
{
}

void OpenFiles::newFile()
{
    append(EditorFile::untitled(m_openFiles.size() + 1));
}

void OpenFiles::openTextInEditor(const QString &name, const QString &text)
{
    EditorFile file;
    file.name = name;
    file.content = file.format.detach(text);
    append(std::move(file));
    m_shell.appendInfo(QStringLiteral("Opened %1 in the editor.").arg(name));
}

QCoro::Task<Result<void>> OpenFiles::openFile(QString path)
{
    const auto showsPath = [path](const EditorFile &open) { return open.path == path; };
    if (selectFirst(showsPath))
        co_return Result<void>();
    const std::function<Result<QString>()> read = [path] { return LocalFile::readText(path); };
    const auto fileText = co_await m_background.run(read);
    if (!fileText)
        co_return Error{ErrorCode::Closed, {}};
    if (!*fileText)
        co_return fileText->error();
    // Asked for twice, the file may have been opened while this read it.
    if (selectFirst(showsPath))
        co_return Result<void>();
    EditorFile file;
    file.name = QFileInfo(path).fileName();
    file.path = path;
    file.content = file.format.detach(**fileText);
    append(std::move(file));
    co_return Result<void>();
}

bool OpenFiles::selectDeviceFile(const QString &devicePath)
{
    return selectFirst(
        [&devicePath](const EditorFile &open) { return open.devicePath == devicePath; });
}

void OpenFiles::openDeviceText(const QString &name, const QString &devicePath,
                               const QString &fileText)
{
    EditorFile file;
    file.name = name;
    file.devicePath = devicePath;
    file.content = file.format.detach(fileText);
    append(std::move(file));
}

QUuid OpenFiles::openUnsaved(const QString &name, const QString &path, const QString &devicePath,
                             const QString &fileText)
{
    EditorFile file;
    file.name = name;
    file.path = path;
    file.devicePath = devicePath;
    file.content = file.format.detach(fileText);
    file.isModified = true;
    append(std::move(file));
    return m_selectedFileID;
}

void OpenFiles::select(const QUuid &id)
{
    if (id == m_selectedFileID || !file(id))
        return;
    m_selectedFileID = id;
    emit selectedFileChanged();
}

void OpenFiles::updateSelectedContent(const QString &text)
{
    const QUuid id = m_selectedFileID;
    EditorFile *edited = editableFile(id);
    if (!edited)
        return;
    edited->format.edited(edited->content, text);
    edited->content = text;
    const bool wasModified = std::exchange(edited->isModified, true);
    emit contentChanged(id);
    if (!wasModified)
        emit fileChanged(id);
}

void OpenFiles::toggleBreakpoint(int line)
{
    EditorFile *marked = editableFile(m_selectedFileID);
    if (!marked)
        return;
    if (!marked->breakpoints.remove(line))
        marked->breakpoints.insert(line);
    emit breakpointsChanged(m_selectedFileID);
}

void OpenFiles::clearBreakpoints()
{
    EditorFile *marked = editableFile(m_selectedFileID);
    if (!marked || marked->breakpoints.isEmpty())
        return;
    marked->breakpoints.clear();
    emit breakpointsChanged(m_selectedFileID);
}

void OpenFiles::markSaved(const QUuid &id, const QString &content)
{
    EditorFile *saved = editableFile(id);
    if (saved && saved->content == content && std::exchange(saved->isModified, false))
        emit fileChanged(id);
}

void OpenFiles::setPath(const QUuid &id, const QString &path, const QString &name)
{
    if (EditorFile *moved = editableFile(id)) {
        moved->path = path;
        moved->name = name;
        emit fileChanged(id);
    }
}

void OpenFiles::setDevicePath(const QUuid &id, const QString &devicePath, const QString &name)
{
    if (EditorFile *moved = editableFile(id)) {
        moved->devicePath = devicePath;
        moved->name = name;
        emit fileChanged(id);
    }
}

void OpenFiles::closeFile(const QUuid &id)
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

const EditorFile *OpenFiles::file(const QUuid &id) const
{
    const auto found = std::find_if(m_openFiles.cbegin(), m_openFiles.cend(),
                                    [&](const EditorFile &open) { return open.id == id; });
    return found == m_openFiles.cend() ? nullptr : &*found;
}

EditorFile *OpenFiles::editableFile(const QUuid &id)
{
    const auto found = std::find_if(m_openFiles.begin(), m_openFiles.end(),
                                    [&](const EditorFile &open) { return open.id == id; });
    return found == m_openFiles.end() ? nullptr : &*found;
}

bool OpenFiles::selectFirst(const std::function<bool(const EditorFile &)> &matches)
{
    const auto found = std::find_if(m_openFiles.cbegin(), m_openFiles.cend(), matches);
    if (found == m_openFiles.cend())
        return false;
    select(found->id);
    return true;
}

void OpenFiles::append(EditorFile file)
{
    m_selectedFileID = file.id;
    m_openFiles.append(std::move(file));
    emit openFilesChanged();
    emit selectedFileChanged();
}

} // namespace Korvane
