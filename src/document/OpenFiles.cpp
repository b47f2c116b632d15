#include "document/OpenFiles.h"

#include "base/LocalFile.h"
#include "base/ShellSink.h"

#include <QFileInfo>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

struct ReadFile
{
    DocumentPlace place;
    Result<QString> text;
};

} // namespace

OpenFiles::OpenFiles(ShellSink &shell, QObject *parent)
    : QObject(parent)
    , m_shell(shell)
{
}

OpenFiles::~OpenFiles() = default;

void OpenFiles::newFile()
{
    append(std::make_unique<EditorFile>(
        EditorFile::untitledName(static_cast<qsizetype>(m_openFiles.size()) + 1)));
    emit fileChosen();
}

void OpenFiles::openTextInEditor(const QString &name, const QString &text)
{
    // A debug run refers to the lines of the text that was sent.
    const auto isReplaceable = [&](const auto &file) {
        return file->name() == name && file->place() == DocumentPlace() && !file->isModified()
            && file->armedLines().isEmpty() && !file->pausedLine();
    };
    const auto found = std::find_if(m_openFiles.begin(), m_openFiles.end(), isReplaceable);
    if (found == m_openFiles.end()) {
        append(std::make_unique<EditorFile>(name, DocumentPlace(), DocumentText::fromFile(text)));
    } else {
        const QUuid id = (*found)->id();
        (*found)->reload(DocumentText::fromFile(text));
        if (std::exchange(m_selectedFileID, id) != id)
            emit selectedFileChanged();
    }
    m_shell.appendInfo(QStringLiteral("Opened %1 in the editor.").arg(name));
}

QCoro::Task<Result<void>> OpenFiles::openFile(QString path)
{
    if (selectPlace(DocumentPlace::local(path)))
        co_return Result<void>();
    const std::function<ReadFile()> read = [path] {
        return ReadFile{DocumentPlace::local(path).resolved(), LocalFile::readText(path)};
    };
    const auto file = co_await m_background.run(read);
    if (!file)
        co_return Error{ErrorCode::Closed, {}};
    // It may be open under another name, or may have been opened while this read it.
    if (selectPlace(file->place))
        co_return Result<void>();
    if (!file->text)
        co_return file->text.error();
    open(QFileInfo(path).fileName(), file->place, *file->text);
    co_return Result<void>();
}

bool OpenFiles::selectPlace(const DocumentPlace &place)
{
    const EditorFile *found = fileAt(place);
    if (found)
        select(found->id());
    return found != nullptr;
}

EditorFile &OpenFiles::open(const QString &name, const DocumentPlace &place,
                            const QString &fileText)
{
    return add(std::make_unique<EditorFile>(name, place, DocumentText::fromFile(fileText)));
}

EditorFile &OpenFiles::add(std::unique_ptr<EditorFile> file, Selection selection)
{
    EditorFile &added = append(std::move(file), selection);
    if (selection == Selection::Change)
        emit fileChosen();
    return added;
}

QUuid OpenFiles::openUnsaved(const QString &name, const DocumentPlace &place,
                             const QString &fileText)
{
    auto file = std::make_unique<EditorFile>(name, place, DocumentText::fromFile(fileText));
    file->setSavedText(std::nullopt);
    const QUuid id = append(std::move(file)).id();
    emit fileChosen();
    return id;
}

void OpenFiles::moveFile(const QUuid &id, qsizetype index)
{
    const auto found = std::find_if(m_openFiles.begin(), m_openFiles.end(),
                                    [&](const auto &open) { return open->id() == id; });
    const auto size = static_cast<qsizetype>(m_openFiles.size());
    if (found == m_openFiles.end() || index < 0 || index >= size)
        return;
    const auto to = m_openFiles.begin() + index;
    if (found < to)
        std::rotate(found, found + 1, to + 1);
    else
        std::rotate(to, found, found + 1);
    emit openFilesChanged();
}

void OpenFiles::select(const QUuid &id)
{
    if (!file(id))
        return;
    if (std::exchange(m_selectedFileID, id) != id)
        emit selectedFileChanged();
    emit fileChosen();
}

void OpenFiles::updateSelectedContent(const QString &text)
{
    if (EditorFile *edited = selectedFile())
        edited->setContent(text);
}

void OpenFiles::toggleBreakpoint(int line)
{
    if (EditorFile *marked = selectedFile())
        marked->toggleBreakpoint(line);
}

void OpenFiles::clearBreakpoints()
{
    if (EditorFile *marked = selectedFile())
        marked->clearBreakpoints();
}

void OpenFiles::closeKeepingEdits(const QUuid &id)
{
    emit unsavedClosing(id);
    closeFile(id);
}

void OpenFiles::closeFile(const QUuid &id)
{
    const auto found = std::find_if(m_openFiles.begin(), m_openFiles.end(),
                                    [&](const auto &open) { return open->id() == id; });
    if (found == m_openFiles.end())
        return;
    emit fileClosing(id);
    // Destroyed at the end: the editor shows it until the selection has changed.
    const std::unique_ptr<EditorFile> closed = std::move(*found);
    m_openFiles.erase(found);
    closed->disconnect(this);
    if (m_openFiles.empty()) {
        newFile();
        return;
    }
    const bool wasSelected = closed->id() == m_selectedFileID;
    if (wasSelected)
        m_selectedFileID = m_openFiles.front()->id();
    emit openFilesChanged();
    if (wasSelected)
        emit selectedFileChanged();
}

void OpenFiles::followMove(const DocumentPlace &from, const DocumentPlace &to)
{
    const QList<EditorFile *> files = openFiles();
    QList<EditorFile *> moved;
    QList<EditorFile *> replaced;
    for (EditorFile *file : files) {
        if (file->place().isWithin(from))
            moved << file;
        else if (file->place().isSameFile(to))
            replaced << file;
    }
    for (EditorFile *file : std::as_const(moved)) {
        const DocumentPlace place = file->place().moved(from, to);
        file->moveTo(place.path.section(u'/', -1), place);
    }
    for (EditorFile *file : std::as_const(replaced)) {
        if (!file->isModified()) {
            closeFile(file->id());
            continue;
        }
        file->moveTo(file->name(), DocumentPlace());
        file->setSavedText(std::nullopt);
    }
}

void OpenFiles::markDeleted(const DocumentPlace &place)
{
    for (EditorFile *file : openFiles()) {
        if (file->place().isWithin(place))
            file->setFileChange(EditorFile::FileChange::Deleted);
    }
}

QList<EditorFile *> OpenFiles::openFiles() const
{
    QList<EditorFile *> files;
    files.reserve(static_cast<qsizetype>(m_openFiles.size()));
    for (const auto &file : m_openFiles)
        files << file.get();
    return files;
}

EditorFile *OpenFiles::file(const QUuid &id) const
{
    const auto found = std::find_if(m_openFiles.cbegin(), m_openFiles.cend(),
                                    [&](const auto &open) { return open->id() == id; });
    return found == m_openFiles.cend() ? nullptr : found->get();
}

EditorFile *OpenFiles::fileAt(const DocumentPlace &place) const
{
    const auto found =
        std::find_if(m_openFiles.cbegin(), m_openFiles.cend(),
                     [&](const auto &open) { return open->place().isSameFile(place); });
    return found == m_openFiles.cend() ? nullptr : found->get();
}

EditorFile &OpenFiles::append(std::unique_ptr<EditorFile> file, Selection selection)
{
    EditorFile &added = *file;
    const QUuid id = added.id();
    connect(&added, &EditorFile::changed, this, [this, id] { emit fileChanged(id); });
    connect(&added, &EditorFile::contentChanged, this, [this, id] { emit contentChanged(id); });
    connect(&added, &EditorFile::breakpointsChanged, this,
            [this, id] { emit breakpointsChanged(id); });
    m_openFiles.push_back(std::move(file));
    if (selection == Selection::Change)
        m_selectedFileID = id;
    emit openFilesChanged();
    if (selection == Selection::Change)
        emit selectedFileChanged();
    return added;
}

} // namespace Korvane
