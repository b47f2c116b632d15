#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"

#include <QObject>
#include <QStringList>

namespace Korvane {

class DocumentWriter;
class LocalFiles;
class OpenFiles;
class UserPrompts;

/// The user's commands for local files in the browser. Each asks where needed, changes the files
/// off the main thread, has the folder listed again and updates the open documents. Paths are
/// absolute. An error's message is the full text for the user. Main thread only.
class LocalFileActions final : public QObject
{
    Q_OBJECT

public:
    /// What LocalFileActions works with; all must outlive it.
    struct Dependencies
    {
        OpenFiles &documents;
        DocumentWriter &writer;
        LocalFiles &files;
        UserPrompts &prompts;
    };

    explicit LocalFileActions(Dependencies dependencies, QObject *parent = nullptr);

    /// Why a file or folder cannot be named \p name, for the user; empty when it can.
    [[nodiscard]] static QString nameProblem(const QString &name);
    /// Asks for a name and creates an empty file in \p folder.
    [[nodiscard]] Async<void> createFile(QString folder);
    /// Asks before another file is replaced.
    [[nodiscard]] Async<void> rename(QString path, QString name);
    /// Moves all \p paths into \p folder. Asks once before files there are replaced. Entries that
    /// are in \p folder already are left alone.
    [[nodiscard]] Async<void> move(QStringList paths, QString folder);
    /// Moves files and folders to the desktop's trash, after a question.
    [[nodiscard]] Async<void> moveToTrash(QStringList paths);

signals:
    /// An entry was created or renamed.
    void entryPlaced(const QString &path);
    void fileCreated(const QString &path);

private:
    enum class Existing { Refuse, Replace };

    [[nodiscard]] Async<void> moveEntry(QString from, QString to, Existing existing);

    Dependencies m_dependencies;
    Background m_background;
    Lifetime m_life;
};

} // namespace Korvane
