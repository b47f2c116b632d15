#include "document/RecoveryFiles.h"

#include "base/DisplayPath.h"
#include "base/ShellSink.h"
#include "base/StateFolder.h"
#include "document/OpenFiles.h"
#include "document/RecoveryCopy.h"

#include <QFileInfo>
#include <QLockFile>

#include <chrono>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

bool needsRecoveryFile(const EditorFile &file)
{
    const bool hasNoPlace = file.place().kind == DocumentPlace::Kind::None;
    return file.isUnsaved() || (hasNoPlace && !file.content().isEmpty());
}

RecoveryCopy copyOf(const EditorFile &file)
{
    RecoveryCopy copy{file.name(), file.place(), file.text().fileText(), std::nullopt};
    if (const auto &saved = file.savedText())
        copy.savedText = saved->fileText();
    return copy;
}

std::optional<DocumentText> savedTextOf(const RecoveryCopy &copy)
{
    return copy.savedText ? std::optional(DocumentText::fromFile(*copy.savedText)) : std::nullopt;
}

QList<RecoveryFiles::Leftover> readLeftovers(const QString &folder)
{
    QList<RecoveryFiles::Leftover> leftovers;
    for (const QFileInfo &file : RecoveryFolder::copies(folder)) {
        if (leftovers.size() == RecoveryFiles::keptLeftovers) {
            QFile::remove(file.filePath());
            continue;
        }
        if (const auto copy = RecoveryCopy::read(file.filePath()))
            leftovers.append({copy->name, copy->place.path, file.lastModified(), file.filePath()});
    }
    return leftovers;
}

/// Deletes the recovery files whose text is in their document's file, and returns their paths.
QStringList removeSaved(const QList<RecoveryFiles::Leftover> &leftovers)
{
    QStringList removed;
    for (const RecoveryFiles::Leftover &leftover : leftovers) {
        const auto copy = RecoveryCopy::read(leftover.file);
        if (copy && copy->isSaved() && QFile::remove(leftover.file))
            removed << leftover.file;
    }
    return removed;
}

} // namespace

/// What is to be done with the recovery file of one document.
struct RecoveryFiles::Change
{
    QUuid document;
    QString file;
    /// Nothing to remove the recovery file.
    std::optional<RecoveryCopy> copy;
    /// Recovery files of the same text, which are removed once `copy` is written.
    QStringList replaced = {};

    [[nodiscard]] Result<void> carryOut() const
    {
        if (copy) {
            if (auto written = copy->write(file); !written)
                return written;
        } else {
            QFile::remove(file);
        }
        for (const QString &old : replaced)
            QFile::remove(old);
        return {};
    }
};

/// What could not be done, with the reason of the last failure.
struct RecoveryFiles::Failures
{
    QList<Change> changes;
    QString reason;
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
    , m_lock(std::make_shared<QLockFile>(RecoveryFolder::lockPath(m_session)))
{
    m_lock->setStaleLockTime(0);
    m_writeDelay.setSingleShot(true);
    m_writeDelay.setInterval(500ms);
    connect(&m_writeDelay, &QTimer::timeout, this, &RecoveryFiles::flush);
    connect(&documents, &OpenFiles::contentChanged, this, &RecoveryFiles::noteChange);
    connect(&documents, &OpenFiles::fileChanged, this, &RecoveryFiles::noteChange);
    connect(&documents, &OpenFiles::unsavedClosing, this, &RecoveryFiles::keepClosing);
    connect(&documents, &OpenFiles::openFilesChanged, this, &RecoveryFiles::handleDocumentsChanged);
    findLeftovers();
}

RecoveryFiles::~RecoveryFiles()
{
    flush(); // the destructor of m_writer waits for it
}

void RecoveryFiles::setKeeping(bool isKeeping)
{
    if (std::exchange(m_isKeeping, isKeeping) == isKeeping)
        return;
    for (const EditorFile *file : m_documents.openFiles())
        noteChange(file->id());
}

bool RecoveryFiles::hasPending() const
{
    return !m_changed.isEmpty() || !m_closed.isEmpty() || m_runningWrites > 0;
}

void RecoveryFiles::handleDocumentsChanged()
{
    for (const EditorFile *file : m_documents.openFiles()) {
        if (needsRecoveryFile(*file) && !m_kept.contains(file->id()))
            noteChange(file->id());
    }
    for (auto kept = m_kept.keyBegin(); kept != m_kept.keyEnd(); ++kept) {
        if (!m_documents.file(*kept))
            noteChange(*kept);
    }
}

void RecoveryFiles::keepClosing(const QUuid &id)
{
    const EditorFile *file = m_documents.file(id);
    if (!file || !needsRecoveryFile(*file))
        return;
    // A new name: the document may be closed again after it was opened from this recovery file.
    const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QString path = RecoveryFolder::copyPath(m_session, name);
    QStringList replaced = m_kept.take(id);
    replaced << ownCopy(id);
    m_changed.remove(id);
    m_closed.append({id, path, copyOf(*file), replaced});
    m_leftovers.prepend({file->name(), file->place().path, QDateTime::currentDateTime(), path});
    flush();
    emit leftoversChanged();
}

void RecoveryFiles::noteChange(const QUuid &id)
{
    m_changed << id;
    if (!m_writeDelay.isActive()) // restarting it would put off the write while the user types
        m_writeDelay.start();
}

/// The path of the document's recovery file.
QString RecoveryFiles::ownCopy(const QUuid &id) const
{
    return RecoveryFolder::copyPath(m_session, id.toString(QUuid::WithoutBraces));
}

QList<RecoveryFiles::Change> RecoveryFiles::takeChanges()
{
    QList<Change> changes = std::exchange(m_closed, {});
    for (const QUuid &id : std::exchange(m_changed, {})) {
        const QString path = ownCopy(id);
        const EditorFile *file = m_documents.file(id);
        if (file && needsRecoveryFile(*file) && m_isKeeping)
            changes.append({id, path, copyOf(*file), std::exchange(m_kept[id], {})});
        else if (m_kept.contains(id))
            changes.append({id, path, std::nullopt, m_kept.take(id)});
    }
    return changes;
}

QCoro::Task<void> RecoveryFiles::flush()
{
    const auto life = m_life.watch();
    m_writeDelay.stop();
    const QList<Change> changes = takeChanges();
    const std::function<Failures()> work = [folder = m_folder, session = m_session, lock = m_lock,
                                            changes] {
        Failures failures;
        if (changes.isEmpty())
            return failures;
        RecoveryFolder::makePrivate(folder);
        RecoveryFolder::makePrivate(session);
        if (!lock->isLocked())
            static_cast<void>(lock->tryLock(0)); // the files are usable without it
        for (const Change &change : changes) {
            if (auto done = change.carryOut(); !done) {
                failures.changes.append(change);
                failures.reason = done.error().message;
            }
        }
        return failures;
    };
    ++m_runningWrites;
    const auto failures = co_await m_writer.run(work);
    if (!life)
        co_return;
    --m_runningWrites;
    if (!failures || changes.isEmpty())
        co_return;
    for (const Change &change : changes)
        m_unwritten.remove(change.document);
    putBack(failures->changes);
    if (!failures->changes.isEmpty() && !std::exchange(m_isFailureReported, true))
        m_shell.appendError(QStringLiteral("Unsaved edits can’t be kept safe in %1: %2")
                                .arg(m_folder, failures->reason));
    m_isFailureReported = !m_unwritten.isEmpty();
}

/// The next write tries again what has failed. A document that was closed is opened again, so that
/// its edits are asked about when the window is closed.
void RecoveryFiles::putBack(const QList<Change> &changes)
{
    for (const Change &change : changes) {
        if (change.file == ownCopy(change.document)) {
            m_changed << change.document;
            m_unwritten << change.document;
            m_kept[change.document] << change.replaced;
        } else if (isLeftover(change.file)) { // and was not discarded
            forget({change.file});
            EditorFile &file = openAgain(*change.copy, m_documents.fileAt(change.copy->place));
            m_unwritten << file.id();
            m_kept[file.id()] << change.replaced;
            noteChange(file.id());
        }
    }
}

bool RecoveryFiles::isLeftover(const QString &file) const
{
    const auto isFile = [&file](const Leftover &leftover) { return leftover.file == file; };
    return std::ranges::any_of(m_leftovers, isFile);
}

/// Opens the text as a document of its place, or of none when \p other belongs there.
EditorFile &RecoveryFiles::openAgain(const RecoveryCopy &copy, const EditorFile *other)
{
    const DocumentPlace place = other ? DocumentPlace() : copy.place;
    EditorFile *file = m_documents.file(m_documents.openUnsaved(copy.name, place, copy.fileText));
    if (!other)
        file->setSavedText(savedTextOf(copy));
    return *file;
}

QCoro::Task<void> RecoveryFiles::findLeftovers()
{
    const auto life = m_life.watch();
    const std::function<QList<Leftover>()> find = [folder = m_folder] {
        RecoveryFolder::adoptEnded(folder);
        return readLeftovers(folder);
    };
    auto found = co_await m_background.run(find);
    if (!life || !found || found->isEmpty())
        co_return;
    m_leftovers << *found; // after those of documents that were closed meanwhile
    emit leftoversChanged();
    // A second step, since a document's folder on the network may not answer.
    const std::function<QStringList()> compare = [leftovers = *found] {
        return removeSaved(leftovers);
    };
    const auto saved = co_await m_background.run(compare);
    if (!life || !saved)
        co_return;
    forget(*saved);
    const qsizetype count = found->size() - saved->size();
    if (count == 0)
        co_return;
    m_shell.appendInfo(
        count == 1
            ? QStringLiteral("A file with unsaved edits was left by an earlier session: View › "
                             "Unsaved Files.")
            : QStringLiteral("%1 files with unsaved edits were left by earlier sessions: View › "
                             "Unsaved Files.")
                  .arg(count));
    emit leftoversReported();
}

QCoro::Task<void> RecoveryFiles::open(Leftover leftover)
{
    const auto life = m_life.watch();
    co_await flush(); // a document that was just closed may still have to be written
    if (!life)
        co_return;
    const std::function<std::optional<RecoveryCopy>()> read = [file = leftover.file] {
        auto copy = RecoveryCopy::read(file);
        if (!copy)
            return copy;
        if (copy->place.kind == DocumentPlace::Kind::Local)
            copy->place = copy->place.resolved();
        if (copy->isSaved())
            copy->savedText = copy->fileText;
        else if (copy->savedText == copy->fileText) // the file was deleted
            copy->savedText.reset();
        return copy;
    };
    const auto result = co_await m_background.run(read);
    if (!life || !result)
        co_return;
    forget({leftover.file});
    const auto &copy = *result;
    if (!copy) {
        m_shell.appendError(QStringLiteral("Cannot open %1: %2 is missing or damaged.")
                                .arg(leftover.name, displayPath(leftover.file)));
        co_return;
    }
    EditorFile *open = m_documents.fileAt(copy->place);
    if (open && !open->isModified()) {
        open->setContent(DocumentText::fromFile(copy->fileText).content);
        // The file may have changed since the text was edited: saving compares it with this.
        open->setSavedText(savedTextOf(*copy));
        m_documents.select(open->id());
    } else {
        open = &openAgain(*copy, open);
    }
    m_kept[open->id()] << leftover.file; // removed when the document has its own recovery file
    noteChange(open->id());
}

QCoro::Task<void> RecoveryFiles::discard(QList<Leftover> leftovers)
{
    QStringList files;
    for (const Leftover &leftover : leftovers)
        files << leftover.file;
    forget(files);
    const auto life = m_life.watch();
    const std::function<QStringList()> remove = [files] {
        QStringList left = files;
        left.removeIf(
            [](const QString &file) { return QFile::remove(file) || !QFile::exists(file); });
        return left;
    };
    const auto left = co_await m_writer.run(remove);
    if (!life || !left)
        co_return;
    for (const QString &file : *left)
        m_shell.appendError(QStringLiteral("Could not delete %1.").arg(displayPath(file)));
}

void RecoveryFiles::forget(const QStringList &files)
{
    const auto isForgotten = [&files](const Leftover &leftover) {
        return files.contains(leftover.file);
    };
    if (m_leftovers.removeIf(isForgotten) > 0)
        emit leftoversChanged();
}

} // namespace Korvane
