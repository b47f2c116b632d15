#include "document/FileSearch.h"

#include "base/LocalFile.h"
#include "base/LocalFolder.h"
#include "document/EditorFile.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <optional>
#include <utility>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

/// The length of one step of the work, after which its hits are shown.
constexpr auto stepTime = 50ms;
constexpr qsizetype shownBefore = 60;
constexpr qsizetype shownText = 200;
constexpr qsizetype binaryProbe = 8'000;

/// Nothing when the file is not UTF-8 text, is too large or cannot be read.
std::optional<QString> readText(const QString &path)
{
    if (QFileInfo(path).size() > FileSearch::maxFileBytes)
        return std::nullopt;
    const auto bytes = LocalFile::read(path); // fails for pipes and devices
    if (!bytes || bytes->first(std::min(bytes->size(), binaryProbe)).contains('\0'))
        return std::nullopt;
    if (!QByteArrayView(*bytes).isValidUtf8())
        return std::nullopt;
    return DocumentText::fromFile(QString::fromUtf8(*bytes)).content;
}

} // namespace

/// The remaining work of a search and the hits of its last step. Passed to the worker thread and
/// back by value.
struct FileSearch::Step
{
    TextSearch search;
    QHash<QString, QString> edited;
    QStringList folders;
    QStringList files; // of the folder that was listed last, in reverse
    QList<Hit> hits;
    int hitCount = 0;
    Outcome outcome;

    [[nodiscard]] bool isDone() const
    {
        return outcome.hasReachedLimit || !outcome.error.isEmpty()
            || (folders.isEmpty() && files.isEmpty());
    }
    void listNextFolder();
    void searchNextFile();
    void work(const Stop &stop);
};

void FileSearch::Step::listNextFolder()
{
    const auto entries = LocalFolder::entries(folders.takeLast());
    if (!entries)
        return; // for example, a folder without read permission
    QStringList inner;
    for (const LocalFolder::Entry &entry : *entries) {
        if (entry.path.isEmpty() || (entry.isDirectory && entry.isLink)
            || entry.name == u"__pycache__")
            continue;
        (entry.isDirectory ? inner : files) << entry.path;
    }
    std::reverse(inner.begin(), inner.end());
    std::reverse(files.begin(), files.end());
    folders << inner;
}

void FileSearch::Step::searchNextFile()
{
    const QString path = files.takeLast();
    // Resolving the links of the path reads the disk.
    const auto open = edited.isEmpty()
        ? edited.constEnd()
        : edited.constFind(DocumentPlace::local(path).resolved().canonicalPath);
    const auto text = open == edited.constEnd() ? readText(path) : *open;
    if (!text)
        return;
    ++outcome.files;
    auto places = hitsIn(path, *text, search);
    if (!places) {
        outcome.error = places.error().message;
        return;
    }
    if (hitCount + places->size() >= maxHits) {
        places->resize(maxHits - hitCount);
        outcome.hasReachedLimit = true;
    }
    hitCount += static_cast<int>(places->size());
    hits << *places;
}

void FileSearch::Step::work(const Stop &stop)
{
    QElapsedTimer time;
    time.start();
    while (!isDone() && !*stop && time.elapsed() < stepTime.count()) {
        if (files.isEmpty())
            listNextFolder();
        else
            searchNextFile();
    }
}

FileSearch::FileSearch(QObject *parent)
    : QObject(parent)
{
}

FileSearch::~FileSearch()
{
    if (m_stop)
        *m_stop = true;
}

Result<QList<FileSearch::Hit>> FileSearch::hitsIn(const QString &path, const QString &text,
                                                  const TextSearch &search)
{
    const auto matches = search.find(text);
    if (!matches)
        return matches.error();
    QList<Hit> hits;
    int line = 1;
    qsizetype start = 0; // of that line
    qsizetype counted = 0;
    for (const TextSearch::Match &match : *matches) {
        const QStringView between = QStringView(text).sliced(counted, match.position - counted);
        line += static_cast<int>(between.count(u'\n'));
        if (const qsizetype last = between.lastIndexOf(u'\n'); last >= 0)
            start = counted + last + 1;
        counted = match.position;
        const qsizetype column = match.position - start;
        const qsizetype textStart = std::max<qsizetype>(0, column - shownBefore);
        QStringView shown = QStringView(text).sliced(start + textStart);
        shown = shown.first(std::min(shown.size(), shownText));
        if (const qsizetype end = shown.indexOf(u'\n'); end >= 0)
            shown.truncate(end);
        const qsizetype end = start + textStart + shown.size();
        hits.append({path, line, static_cast<int>(column),
                     static_cast<int>(std::min<qsizetype>(match.length, end - match.position)),
                     shown.toString(), static_cast<int>(textStart)});
        if (hits.size() == maxHits)
            break;
    }
    return hits;
}

void FileSearch::start(const QString &folder, const TextSearch &search,
                       const QHash<QString, QString> &edited)
{
    if (m_stop)
        *m_stop = true;
    m_stop = std::make_shared<std::atomic<bool>>(false);
    run(folder, search, edited, m_stop);
}

void FileSearch::cancel()
{
    if (!m_stop)
        return;
    *m_stop = true;
}

QCoro::Task<void> FileSearch::run(QString folder, TextSearch search, QHash<QString, QString> edited,
                                  Stop stop)
{
    const auto life = m_life.watch();
    Step step;
    step.search = std::move(search);
    step.edited = std::move(edited);
    step.folders << folder;
    while (!step.isDone() && !*stop) {
        step.hits.clear();
        const std::function<Step()> work = [step, stop]() mutable {
            step.work(stop);
            return std::move(step);
        };
        auto done = co_await m_background.run(work);
        if (!done || !life || m_stop != stop)
            co_return;
        step = std::move(*done);
        if (!step.hits.isEmpty())
            emit found(step.hits);
        if (!life || m_stop != stop)
            co_return; // destroyed or started again by a slot
    }
    Outcome outcome = step.outcome;
    outcome.isCanceled = *stop && !step.isDone();
    m_stop.reset();
    emit finished(outcome);
}

} // namespace Korvane
