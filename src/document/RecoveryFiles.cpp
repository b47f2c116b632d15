#include "document/RecoveryFiles.h"

#include "base/LocalFile.h"
#include "base/ShellSink.h"
#include "base/StateFolder.h"
#include "document/OpenFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLockFile>

#include <chrono>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

const QString nameKey = QStringLiteral("name");
const QString pathKey = QStringLiteral("path");
const QString devicePathKey = QStringLiteral("devicePath");
const QString boardKey = QStringLiteral("board");
const QString textKey = QStringLiteral("text");
const QString suffix = QStringLiteral(".json");

bool isUnsaved(const EditorFile &file)
{
    const bool isNowhere = file.place().kind == DocumentPlace::Kind::Nowhere;
    return file.isModified() || (isNowhere && !file.content().isEmpty());
}

/// The copy's content, or nothing when it is damaged.
QJsonObject readCopy(const QString &file)
{
    const auto bytes = LocalFile::read(file);
    return bytes ? QJsonDocument::fromJson(*bytes).object() : QJsonObject();
}

DocumentPlace placeIn(const QJsonObject &copy)
{
    if (const QString path = copy[pathKey].toString(); !path.isEmpty())
        return DocumentPlace::local(path).resolved();
    if (const QString path = copy[devicePathKey].toString(); !path.isEmpty())
        return DocumentPlace::onBoard(copy[boardKey].toString(), path);
    return {};
}

QFileInfoList copies(const QString &folder)
{
    return QDir(folder).entryInfoList({u'*' + suffix}, QDir::Files, QDir::Time);
}

/// The texts are nobody else's business, wherever their documents lie.
void makePrivateFolder(const QString &folder)
{
    QDir().mkpath(folder);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// Takes over the copies of programs that have ended. Whoever holds the lock of a folder is alive.
void adoptEnded(const QString &folder)
{
    const QFileInfoList sessions =
        QDir(folder).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QFileInfo &session : sessions) {
        QLockFile lock(session.filePath() + QStringLiteral("/lock"));
        lock.setStaleLockTime(0); // a lock does not grow old while its program lives
        if (!lock.tryLock(0))
            continue;
        for (const QFileInfo &copy : copies(session.filePath()))
            QFile::rename(copy.filePath(), folder + u'/' + copy.fileName());
        lock.unlock();
        QDir().rmdir(session.filePath());
    }
}

QList<RecoveryFiles::Leftover> readLeftovers(const QString &folder)
{
    QList<RecoveryFiles::Leftover> leftovers;
    for (const QFileInfo &copy : copies(folder)) {
        if (leftovers.size() == RecoveryFiles::keptLeftovers) {
            QFile::remove(copy.filePath());
            continue;
        }
        const QJsonObject content = readCopy(copy.filePath());
        if (content.isEmpty())
            continue;
        const QString path = content[pathKey].toString();
        leftovers.append({content[nameKey].toString(),
                          path.isEmpty() ? content[devicePathKey].toString() : path,
                          copy.lastModified(), copy.filePath()});
    }
    return leftovers;
}

} // namespace

/// What is to be done with one document's copy.
struct RecoveryFiles::Change
{
    QString copy;
    /// The document as it is to be kept; without a name the copy is removed.
    QString name;
    DocumentPlace place;
    DocumentText text;
    /// A leftover that the copy takes the place of; may be empty.
    QString leftover;

    [[nodiscard]] Result<void> carryOut() const
    {
        if (name.isEmpty()) {
            QFile::remove(copy);
            removeLeftover();
            return {};
        }
        const bool isOnBoard = place.kind == DocumentPlace::Kind::Board;
        const QJsonObject content{{nameKey, name},
                                  {pathKey, isOnBoard ? QString() : place.path},
                                  {devicePathKey, isOnBoard ? place.path : QString()},
                                  {boardKey, place.board},
                                  {textKey, text.fileText()}};
        auto written =
            LocalFile::writeAtomically(copy, QJsonDocument(content).toJson(QJsonDocument::Compact));
        if (written)
            removeLeftover();
        return written;
    }

    void removeLeftover() const
    {
        if (!leftover.isEmpty())
            QFile::remove(leftover);
    }
};

QString RecoveryFiles::defaultFolder()
{
    return stateFolder() + QStringLiteral("/unsaved");
}

RecoveryFiles::RecoveryFiles(OpenFiles &documents, ShellSink &shell, const QString &folder,
                             QObject *parent)
    : QObject(parent)
    , m_documents(documents)
    , m_shell(shell)
    , m_folder(folder)
    , m_session(folder + u'/' + QUuid::createUuid().toString(QUuid::WithoutBraces))
    , m_lock(std::make_shared<QLockFile>(m_session + QStringLiteral("/lock")))
{
    m_lock->setStaleLockTime(0);
    m_pause.setSingleShot(true);
    m_pause.setInterval(500ms);
    connect(&m_pause, &QTimer::timeout, this, &RecoveryFiles::write);
    connect(&documents, &OpenFiles::contentChanged, this, &RecoveryFiles::noteChange);
    connect(&documents, &OpenFiles::fileChanged, this, &RecoveryFiles::noteChange);
    connect(&documents, &OpenFiles::openFilesChanged, this, &RecoveryFiles::follow);
    findLeftovers();
}

RecoveryFiles::~RecoveryFiles() = default;

void RecoveryFiles::follow()
{
    for (const EditorFile *file : m_documents.openFiles()) {
        if (isUnsaved(*file) && !m_kept.contains(file->id()))
            noteChange(file->id());
    }
    for (auto kept = m_kept.keyBegin(); kept != m_kept.keyEnd(); ++kept) {
        if (!m_documents.file(*kept))
            noteChange(*kept);
    }
}

void RecoveryFiles::noteChange(const QUuid &id)
{
    m_changed << id;
    if (!m_pause.isActive()) // not again with each key, or it would wait for the hands to rest
        m_pause.start();
}

QList<RecoveryFiles::Change> RecoveryFiles::takeChanges()
{
    QList<Change> changes;
    for (const QUuid &id : std::exchange(m_changed, {})) {
        const QString copy = m_session + u'/' + id.toString(QUuid::WithoutBraces) + suffix;
        const EditorFile *file = m_documents.file(id);
        if (file && isUnsaved(*file))
            changes.append(
                {copy, file->name(), file->place(), file->text(), std::exchange(m_kept[id], {})});
        else if (m_kept.contains(id))
            changes.append({copy, {}, {}, {}, m_kept.take(id)});
    }
    return changes;
}

QCoro::Task<void> RecoveryFiles::write()
{
    if (m_isWriting) // which looks again before it ends
        co_return;
    m_isWriting = true;
    const auto life = m_life.watch();
    while (true) {
        const QList<Change> changes = takeChanges();
        if (changes.isEmpty())
            break;
        const std::function<Result<void>()> work = [session = m_session, lock = m_lock, changes] {
            makePrivateFolder(session);
            Result<void> outcome;
            if (!lock->isLocked())
                static_cast<void>(lock->tryLock(0)); // without it the copies are still good
            for (const Change &change : changes) {
                if (auto done = change.carryOut(); !done)
                    outcome = done;
            }
            return outcome;
        };
        const auto outcome = co_await m_background.run(work);
        if (!life || !outcome)
            co_return;
        const bool failed = !*outcome;
        if (failed && !std::exchange(m_saidFailure, true))
            m_shell.appendError(QStringLiteral("Unsaved edits can’t be kept safe in %1: %2")
                                    .arg(m_folder, outcome->error().message));
        m_saidFailure = failed;
    }
    m_isWriting = false;
}

QCoro::Task<void> RecoveryFiles::findLeftovers()
{
    const auto life = m_life.watch();
    const std::function<QList<Leftover>()> work = [folder = m_folder] {
        adoptEnded(folder);
        return readLeftovers(folder);
    };
    auto found = co_await m_background.run(work);
    if (!life || !found || found->isEmpty())
        co_return;
    m_leftovers = std::move(*found);
    m_shell.appendInfo(
        m_leftovers.size() == 1
            ? QStringLiteral("A file with unsaved edits was left by an earlier session: View › "
                             "Unsaved Files.")
            : QStringLiteral("%1 files with unsaved edits were left by earlier sessions: View › "
                             "Unsaved Files.")
                  .arg(m_leftovers.size()));
    emit leftoversChanged();
}

QCoro::Task<void> RecoveryFiles::open(Leftover leftover)
{
    const auto life = m_life.watch();
    using Copy = std::pair<QJsonObject, DocumentPlace>;
    const std::function<Copy()> work = [file = leftover.file] {
        const QJsonObject content = readCopy(file);
        return Copy{content, placeIn(content)};
    };
    const auto copy = co_await m_background.run(work);
    if (!life || !copy)
        co_return;
    const auto &[content, place] = *copy;
    forget(leftover.file);
    if (content.isEmpty()) {
        m_shell.appendError(
            QStringLiteral("Cannot open %1: it is not there any more.").arg(leftover.name));
        co_return;
    }
    const QUuid id =
        m_documents.openUnsaved(content[nameKey].toString(), place, content[textKey].toString());
    m_kept[id] = leftover.file; // which goes when the document has its own copy
    noteChange(id);
}

void RecoveryFiles::forget(const QString &file)
{
    m_leftovers.removeIf([&file](const Leftover &leftover) { return leftover.file == file; });
    emit leftoversChanged();
}

} // namespace Korvane
