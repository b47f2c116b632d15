#include "document/FileWatch.h"

#include "base/Utf8.h"
#include "document/DocumentWriter.h"
#include "document/OpenFiles.h"

#include <QFileSystemWatcher>

#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr auto settleTime = 200ms;

} // namespace

FileWatch::FileWatch(OpenFiles &documents, const DocumentWriter &writer, DocumentStore &localStore,
                     DocumentStore &boardStore)
    : m_documents(documents)
    , m_writer(writer)
    , m_localStore(localStore)
    , m_boardStore(boardStore)
{
    m_settleTimer.setSingleShot(true);
    m_settleTimer.setInterval(settleTime);
    connect(&m_settleTimer, &QTimer::timeout, this, &FileWatch::checkChanged);
    connect(&documents, &OpenFiles::openFilesChanged, this, &FileWatch::followDocuments);
    connect(&documents, &OpenFiles::fileChanged, this, &FileWatch::followDocuments);
}

FileWatch::~FileWatch() = default;

void FileWatch::followDocuments()
{
    QSet<QString> wanted;
    for (const EditorFile *file : m_documents.openFiles()) {
        if (file->place().kind == DocumentPlace::Kind::Local)
            wanted << file->place().canonicalPath;
    }
    if (!m_watcher && wanted.isEmpty())
        return;
    if (!m_watcher) {
        m_watcher = std::make_unique<QFileSystemWatcher>();
        connect(m_watcher.get(), &QFileSystemWatcher::fileChanged, this,
                &FileWatch::handleFileChanged);
    }
    const QStringList watched = m_watcher->files();
    const QSet<QString> present(watched.cbegin(), watched.cend());
    const QStringList added = (wanted - present).values();
    const QStringList removed = (present - wanted).values();
    // A file that does not exist can't be watched; it is compared when the window is activated.
    if (!added.isEmpty())
        m_watcher->addPaths(added);
    if (!removed.isEmpty())
        m_watcher->removePaths(removed);
}

void FileWatch::handleFileChanged(const QString &path)
{
    m_changedPaths << path;
    m_settleTimer.start();
}

void FileWatch::checkChanged()
{
    const QSet<QString> paths = std::exchange(m_changedPaths, {});
    followDocuments(); // a file that was replaced by a rename is no longer watched
    QList<QUuid> ids;
    for (const EditorFile *file : m_documents.openFiles()) {
        if (paths.contains(file->place().canonicalPath))
            ids << file->id();
    }
    for (const QUuid &id : std::as_const(ids))
        check(id);
}

void FileWatch::check()
{
    QList<QUuid> ids;
    for (const EditorFile *file : m_documents.openFiles())
        ids << file->id();
    for (const QUuid &id : std::as_const(ids))
        check(id);
}

QCoro::Task<void> FileWatch::check(QUuid id)
{
    const EditorFile *file = m_documents.file(id);
    if (file && file->place().kind == DocumentPlace::Kind::Local)
        co_await compare(id);
}

QCoro::Task<void> FileWatch::checkOnBoard(QUuid id)
{
    const EditorFile *file = m_documents.file(id);
    if (file && file->place().kind == DocumentPlace::Kind::Board)
        co_await compare(id);
}

QCoro::Task<void> FileWatch::compare(QUuid id)
{
    if (const auto running = m_comparisons.find(id); running != m_comparisons.end()) {
        *running = Repetition::Needed; // the file may have changed since it was read
        co_return;
    }
    const auto life = m_life.watch();
    do {
        m_comparisons[id] = Repetition::None;
        const auto held = co_await read(id);
        if (!life)
            co_return;
        if (held)
            showDifference(*m_documents.file(id), *held);
    } while (m_comparisons.value(id) == Repetition::Needed);
    m_comparisons.remove(id);
}

void FileWatch::showDifference(EditorFile &file, const std::optional<QByteArray> &held)
{
    if (!file.savedText()) // recovered; compared when it is saved
        return;
    if (!held) {
        file.setFileChange(EditorFile::FileChange::Deleted);
        return;
    }
    if (*held == file.savedText()->fileText().toUtf8()) {
        file.setFileChange(EditorFile::FileChange::None);
        return;
    }
    if (const DocumentText shown = file.text(); *held == shown.fileText().toUtf8()) {
        file.setSavedText(shown);
        return;
    }
    const auto text = Utf8::decodeStrict(*held);
    if (text && !file.isModified())
        file.reload(DocumentText::fromFile(*text));
    else
        file.setFileChange(EditorFile::FileChange::Changed);
}

Async<void> FileWatch::reload(QUuid id)
{
    const auto life = m_life.watch();
    const auto held = co_await read(id);
    if (!life)
        co_return Result<void>();
    if (!held)
        co_return held.error();
    EditorFile *file = m_documents.file(id);
    if (!held->has_value()) {
        file->setFileChange(EditorFile::FileChange::Deleted);
        co_return Result<void>();
    }
    const auto text = Utf8::decodeStrict(**held);
    if (!text) {
        co_return Error{ErrorCode::File,
                        QStringLiteral("Cannot decode %1 as text").arg(file->name())};
    }
    file->reload(DocumentText::fromFile(*text));
    co_return Result<void>();
}

QCoro::Task<void> FileWatch::keep(QUuid id)
{
    const auto life = m_life.watch();
    const auto held = co_await read(id);
    if (!life || (!held && held.error().code == ErrorCode::Closed))
        co_return;
    EditorFile *file = m_documents.file(id);
    std::optional<DocumentText> known;
    if (held && held->has_value()) {
        if (const auto text = Utf8::decodeStrict(**held))
            known = DocumentText::fromFile(*text);
    }
    file->setSavedText(known);
}

Async<std::optional<QByteArray>> FileWatch::read(QUuid id)
{
    const EditorFile *file = m_documents.file(id);
    const Error dropped{ErrorCode::Closed, {}};
    if (!file || file->place().kind == DocumentPlace::Kind::None
        || m_writer.isWriting(file->place()))
        co_return dropped;
    const auto life = m_life.watch();
    const DocumentPlace place = file->place();
    const int savedNumber = file->savedNumber();
    DocumentStore &store = place.kind == DocumentPlace::Kind::Board ? m_boardStore : m_localStore;
    const auto held = co_await store.read(place);
    if (!life)
        co_return dropped;
    const EditorFile *same = m_documents.file(id);
    if (!same || same->savedNumber() != savedNumber || !same->place().isSameFile(place)
        || m_writer.isWriting(place))
        co_return dropped;
    co_return held;
}

} // namespace Korvane
