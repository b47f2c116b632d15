#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "document/TextSearch.h"

#include <QHash>
#include <QObject>

#include <atomic>
#include <memory>

namespace Korvane {

/// Searches the text files of a folder and of those in it, in the background. Left out are hidden
/// entries, `__pycache__`, links to folders, files that are no UTF-8 text and very large ones. Main
/// thread only.
class FileSearch final : public QObject
{
    Q_OBJECT

public:
    /// The search ends after this number of hits.
    static constexpr int mostHits = 5'000;
    static constexpr qint64 largestFile = 16'000'000; // bytes

    /// A place in a file.
    struct Hit
    {
        QString path;
        int line;      // from 1
        int column;    // UTF-16 units before it in the line
        int length;    // within the line
        QString text;  // of the line around it, in one piece
        int textStart; // the column at which `text` starts
    };
    struct Outcome
    {
        int files = 0; // that were read
        bool isCut = false;
        bool isCanceled = false;
        QString fault; // of the regular expression; empty without one
    };

    explicit FileSearch(QObject *parent = nullptr);
    ~FileSearch() override;

    /// Ends a search that is under way, without `finished`, and begins this one. \p edited has the
    /// texts, by canonical path, that are searched in place of what the files hold.
    void start(const QString &folder, const TextSearch &search,
               const QHash<QString, QString> &edited = {});
    void cancel();
    [[nodiscard]] bool isRunning() const { return m_stop != nullptr; }

    /// The places in one text, in their order. Fails as TextSearch::find.
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

    Stop m_stop; // of the search that is under way
    Background m_background{1};
    Lifetime m_life;
};

} // namespace Korvane
