#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "document/TextSearch.h"

#include <QHash>
#include <QObject>

#include <atomic>
#include <memory>

namespace Korvane {

/// Searches the text files of a folder and of its subfolders, in the background. Leaves out hidden
/// entries, `__pycache__`, links to folders, files that are not UTF-8 text and those of more than
/// `maxFileBytes` bytes. Main thread only.
class FileSearch final : public QObject
{
    Q_OBJECT

public:
    /// The search ends after this number of hits.
    static constexpr int maxHits = 5'000;
    static constexpr qint64 maxFileBytes = 16'000'000;

    /// A place in a file.
    struct Hit
    {
        QString path;
        int line;      // from 1
        int column;    // UTF-16 units before it in the line
        int length;    // within the line
        QString text;  // the part of its line around it, at most 200 characters
        int textStart; // the column at which `text` starts
    };
    struct Outcome
    {
        int files = 0;                // whose text was searched
        bool hasReachedLimit = false; // ended at maxHits
        bool isCanceled = false;
        QString error; // of the regular expression; empty without one
    };

    explicit FileSearch(QObject *parent = nullptr);
    ~FileSearch() override;

    /// Starts a search; one in progress ends without `finished`. \p edited has the texts, by
    /// canonical path, that are searched in place of the contents of the files.
    void start(const QString &folder, const TextSearch &search,
               const QHash<QString, QString> &edited = {});
    /// Ends the search in progress, if there is one; `finished` follows from the event loop.
    void cancel();
    [[nodiscard]] bool isRunning() const { return m_stop != nullptr; }

    /// The first `maxHits` places in one text, in their order. Fails as TextSearch::find.
    [[nodiscard]] static Result<QList<Hit>> hitsIn(const QString &path, const QString &text,
                                                   const TextSearch &search);

signals:
    void found(const QList<Korvane::FileSearch::Hit> &hits);
    void finished(const Korvane::FileSearch::Outcome &outcome);

private:
    struct Step;
    using Stop = std::shared_ptr<std::atomic<bool>>;

    QCoro::Task<void> run(QString folder, TextSearch search, QHash<QString, QString> edited,
                          Stop stop);

    Stop m_stop; // of the search in progress; null without one
    Background m_background{1};
    Lifetime m_life;
};

} // namespace Korvane
