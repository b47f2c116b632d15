#include "app/Workspace.h"

#include "app/AppState.h"
#include "base/LocalFile.h"
#include "document/PythonTextStorage.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr qsizetype maxClosed = 20;

void restoreBreakpoints(EditorFile &file, const WorkspaceFile::Document &left)
{
    for (const int line : left.breakpoints) {
        if (line <= file.storage().blockCount())
            file.toggleBreakpoint(line);
    }
}

void prepare(EditorFile &file, const WorkspaceFile::Document &left)
{
    QTextCursor caret(&file.storage());
    caret.setPosition(std::min(left.caret, file.storage().characterCount() - 1));
    file.viewState.caret = caret;
    file.viewState.isCaretPlaced = true;
    file.viewState.firstVisibleLine = left.firstVisibleLine;
    restoreBreakpoints(file, left);
}

std::unique_ptr<EditorFile> makeFile(const DocumentPlace &place, const QString &fileText,
                                     const WorkspaceFile::Document &left)
{
    auto file = std::make_unique<EditorFile>(QFileInfo(place.path).fileName(), place,
                                             DocumentText::fromFile(fileText));
    prepare(*file, left);
    return file;
}

bool writeState(const QString &path, const QByteArray &json)
{
    return QDir().mkpath(QFileInfo(path).path())
        && LocalFile::writeAtomically(path, json, LocalFile::Access::OwnerOnly);
}

DeviceFileNode nodeAt(const QString &path)
{
    DeviceFileNode node;
    node.name = path.sliced(path.lastIndexOf(u'/') + 1);
    node.path = path;
    return node;
}

} // namespace

struct Workspace::Read
{
    DocumentPlace place;
    Result<QString> text;
};

Workspace::Workspace(AppState &state, const QString &path, QObject *parent)
    : QObject(parent)
    , m_state(state)
    , m_path(path)
{
    m_saveDelay.setSingleShot(true);
    m_saveDelay.setInterval(1s);
    connect(&m_saveDelay, &QTimer::timeout, this, &Workspace::save);
    const OpenFiles &documents = state.documents();
    connect(&documents, &OpenFiles::openFilesChanged, this, &Workspace::updateRecent);
    connect(&documents, &OpenFiles::fileChanged, this, &Workspace::updateRecent);
    connect(&documents, &OpenFiles::selectedFileChanged, this, &Workspace::saveSoon);
    connect(&documents, &OpenFiles::breakpointsChanged, this, &Workspace::saveSoon);
    connect(&documents, &OpenFiles::fileClosing, this, &Workspace::keepClosing);
    connect(&state.localFiles(), &LocalFiles::localWorkingDirChanged, this, &Workspace::saveSoon);
    connect(&state.link(), &DeviceLink::connected, this, &Workspace::offerBoardDocuments);
    connect(&state.link(), &DeviceLink::ended, this, [this] {
        m_ofThisBoard.clear();
        emit changed();
    });
}

Workspace::~Workspace() = default;

QCoro::Task<void> Workspace::restore()
{
    const auto life = m_life.watch();
    const QUuid first = m_state.documents().selectedFileID();
    const QString wanted = m_state.preferences().text(Preferences::RestoreAtStart);
    const std::function<QByteArray()> readState = [path = m_path] {
        const auto bytes = LocalFile::read(path);
        return bytes ? *bytes : QByteArray();
    };
    const auto bytes = co_await m_background.run(readState);
    if (!life || !bytes)
        co_return;
    m_written = *bytes;
    const WorkspaceFile state = WorkspaceFile::fromJson(*bytes);
    // Files that the command line names may be open by now.
    for (const QString &path : state.recentFiles) {
        if (!m_recentFiles.contains(path) && m_recentFiles.size() < WorkspaceFile::maxRecent)
            m_recentFiles << path;
    }
    m_recentFolders = state.recentFolders;
    const bool isAtHome = m_state.localFiles().localWorkingDir() == QDir::homePath();
    if (wanted != u"nothing" && !state.folder.isEmpty() && isAtHome)
        m_state.localFiles().setLocalWorkingDir(state.folder);
    if (wanted == u"all" && !state.documents.isEmpty()) {
        if (!co_await openDocuments(state.documents, state.selected, first))
            co_return;
    }
    m_isReady = true;
    saveSoon();
    emit changed();
    if (m_state.link().connectionState().isConnected())
        offerBoardDocuments();
}

/// False when this was destroyed meanwhile.
QCoro::Task<bool> Workspace::openDocuments(QList<WorkspaceFile::Document> documents, int selected,
                                           QUuid first)
{
    const auto life = m_life.watch();
    OpenFiles &open = m_state.documents();
    std::vector<QCoro::Task<std::optional<Read>>> reads;
    for (const WorkspaceFile::Document &document : documents)
        reads.push_back(read(document.place.kind == DocumentPlace::Kind::Local ? document.place.path
                                                                               : QString()));
    QStringList missing;
    QUuid chosen;
    for (qsizetype i = 0; i < documents.size(); ++i) {
        const WorkspaceFile::Document document = documents[i];
        if (document.place.kind == DocumentPlace::Kind::Board) {
            m_boardDocuments << document;
            continue;
        }
        auto file = co_await std::move(reads[static_cast<size_t>(i)]);
        if (!life || !file)
            co_return false;
        if (!file->text) {
            missing << QFileInfo(document.place.path).fileName();
            continue;
        }
        if (EditorFile *opened = open.fileAt(file->place)) { // by the command line
            if (opened->breakpoints().isEmpty())
                restoreBreakpoints(*opened, document);
            continue;
        }
        auto made = makeFile(file->place, *file->text, document);
        const QUuid id = made->id();
        m_knownPaths.insert(id, made->path()); // used in the last session, not just now
        open.add(std::move(made), OpenFiles::Selection::Keep);
        if (i == selected || chosen.isNull())
            chosen = id;
    }
    const EditorFile *empty = open.file(first);
    if (empty && empty->isUntouched() && open.openFiles().size() > 1) {
        if (!chosen.isNull() && open.selectedFileID() == first) // not by the command line
            open.select(chosen);
        open.closeFile(first);
    }
    if (!missing.isEmpty())
        m_state.shell().appendInfo(QStringLiteral("Could not be read and opened again: ")
                                   + missing.join(QStringLiteral(", ")));
    co_return true;
}

/// Nothing when this was destroyed.
QCoro::Task<std::optional<Workspace::Read>> Workspace::read(QString path)
{
    const std::function<Read()> work = [path] {
        return Read{DocumentPlace::local(path).resolved(), LocalFile::readText(path)};
    };
    return m_background.run(work);
}

WorkspaceFile::Document Workspace::describe(const EditorFile &file) const
{
    WorkspaceFile::Document document;
    document.place = file.place();
    document.caret = std::max(0, file.viewState.caret.position());
    document.firstVisibleLine = file.viewState.firstVisibleLine;
    document.breakpoints = QList<int>(file.breakpoints().begin(), file.breakpoints().end());
    std::sort(document.breakpoints.begin(), document.breakpoints.end());
    return document;
}

WorkspaceFile Workspace::snapshot()
{
    m_writeViewState();
    WorkspaceFile file;
    const OpenFiles &documents = m_state.documents();
    for (const EditorFile *open : documents.openFiles()) {
        if (open->place().kind == DocumentPlace::Kind::None
            || file.documents.size() == WorkspaceFile::maxDocuments)
            continue;
        if (open->id() == documents.selectedFileID())
            file.selected = static_cast<int>(file.documents.size());
        file.documents << describe(*open);
    }
    for (const WorkspaceFile::Document &document : std::as_const(m_boardDocuments)) {
        if (file.documents.size() < WorkspaceFile::maxDocuments)
            file.documents << document;
    }
    file.folder = m_state.localFiles().localWorkingDir();
    file.recentFiles = m_recentFiles;
    file.recentFolders = m_recentFolders;
    return file;
}

void Workspace::save()
{
    m_saveDelay.stop();
    if (!m_isReady)
        return;
    const QByteArray json = snapshot().toJson();
    if (std::exchange(m_written, json) == json)
        return;
    // After a failure the next start restores an older state.
    const std::function<bool()> write = [path = m_path, json] { return writeState(path, json); };
    const auto task = m_writer.run(write);
}

void Workspace::saveSoon()
{
    if (m_isReady && !m_saveDelay.isActive())
        m_saveDelay.start();
}

void Workspace::updateRecent()
{
    bool hasNew = false;
    for (const EditorFile *file : m_state.documents().openFiles()) {
        const QString path = file->path();
        if (path.isEmpty() || m_knownPaths.value(file->id()) == path)
            continue;
        m_knownPaths[file->id()] = path;
        WorkspaceFile::addRecent(m_recentFiles, path);
        const QString folder = m_state.localFiles().localWorkingDir();
        if (folder != QDir::homePath())
            WorkspaceFile::addRecent(m_recentFolders, folder);
        hasNew = true;
    }
    const auto isOpen = [this](const WorkspaceFile::Document &document) {
        return m_state.documents().fileAt(document.place) != nullptr;
    };
    m_boardDocuments.removeIf(isOpen);
    hasNew = m_ofThisBoard.removeIf(isOpen) > 0 || hasNew;
    saveSoon();
    if (hasNew)
        emit changed();
}

void Workspace::clearRecent()
{
    m_recentFiles.clear();
    m_recentFolders.clear();
    saveSoon();
    emit changed();
}

void Workspace::keepClosing(const QUuid &id)
{
    const EditorFile *file = m_state.documents().file(id);
    if (!file || file->isUntouched())
        return;
    m_writeViewState();
    Closed closed{file->name(), describe(*file), {}, file->savedText()};
    if (file->isUnsaved() || file->place().kind == DocumentPlace::Kind::None)
        closed.text = file->text();
    m_closed << closed;
    if (m_closed.size() > maxClosed)
        m_closed.removeFirst();
    emit changed();
}

QCoro::Task<void> Workspace::reopenClosed()
{
    if (m_closed.isEmpty())
        co_return;
    const auto life = m_life.watch();
    const Closed closed = m_closed.takeLast();
    emit changed();
    OpenFiles &open = m_state.documents();
    const DocumentPlace place = closed.document.place;
    if (closed.text) {
        // A second document of the file would overwrite what the first one saves.
        const bool isOpen = open.fileAt(place) != nullptr;
        auto file = std::make_unique<EditorFile>(closed.name, isOpen ? DocumentPlace() : place,
                                                 *closed.text);
        file->setSavedText(isOpen ? std::nullopt : closed.savedText);
        prepare(*file, closed.document);
        open.add(std::move(file));
        co_return;
    }
    if (open.selectPlace(place))
        co_return;
    if (place.kind == DocumentPlace::Kind::Board) {
        const auto board = co_await m_state.link().boardIdentity();
        if (!life)
            co_return;
        if (!board || *board != place.board) {
            m_closed.prepend(closed); // the next call reopens the one before it
            emit changed();
            m_state.shell().appendError(
                QStringLiteral("Connect the board of %1 to open it again.").arg(closed.name));
            co_return;
        }
        const DeviceFileNode node = nodeAt(place.path);
        const WorkspaceFile::Document document = closed.document;
        m_state.boardDocuments().openDeviceFile(
            node, [document](EditorFile &file) { prepare(file, document); });
        co_return;
    }
    const auto file = co_await read(place.path);
    if (!life || !file || open.selectPlace(file->place))
        co_return;
    if (file->text)
        open.add(makeFile(file->place, *file->text, closed.document));
    else
        m_state.shell().appendError(
            QStringLiteral("Cannot open %1: %2").arg(closed.name, file->text.error().message));
}

QCoro::Task<void> Workspace::offerBoardDocuments()
{
    if (m_boardDocuments.isEmpty())
        co_return;
    const auto life = m_life.watch();
    const auto board = co_await m_state.link().boardIdentity();
    if (!life || !board)
        co_return;
    m_ofThisBoard.clear();
    for (const WorkspaceFile::Document &document : std::as_const(m_boardDocuments)) {
        if (document.place.board == *board)
            m_ofThisBoard << document;
    }
    if (!m_ofThisBoard.isEmpty())
        m_state.shell().appendInfo(
            QStringLiteral("Files of this board were open when Korvane was last closed: File › "
                           "Reopen Files of This Board."));
    emit changed();
}

QCoro::Task<void> Workspace::openBoardDocuments()
{
    const auto life = m_life.watch();
    const QList<WorkspaceFile::Document> documents = m_ofThisBoard; // which shrinks meanwhile
    for (const WorkspaceFile::Document &document : documents) {
        if (!m_ofThisBoard.contains(document)) // its board is gone, or it was opened meanwhile
            continue;
        const DeviceFileNode node = nodeAt(document.place.path);
        const std::function<void(EditorFile &)> restoreView = [document](EditorFile &file) {
            prepare(file, document);
        };
        co_await m_state.boardDocuments().openDeviceFile(node, restoreView);
        if (!life)
            co_return;
        const DeviceFiles &files = m_state.deviceFiles();
        const bool isDeleted = !files.listingError() && !files.deviceFileNodes().isEmpty()
            && !files.deviceNode(node.path);
        if (isDeleted && m_ofThisBoard.removeAll(document) > 0) {
            m_boardDocuments.removeAll(document);
            saveSoon();
            emit changed();
        }
    }
}

} // namespace Korvane
