#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "base/UserPrompts.h"
#include "board/BoardRecords.h"
#include "board/DeviceFileOperations.h"

#include <QObject>

namespace Korvane {

class DeviceFiles;
class DeviceLink;
class DocumentWriter;
class OpenFiles;
class TransferStatus;

/// The user's commands for the board's files in the browser. Each asks where needed, changes the
/// files, lists the board again and updates the open documents. An error's message is the full text
/// for the user. Main thread only.
class BoardFileActions final : public QObject
{
    Q_OBJECT

public:
    /// What BoardFileActions works with; all must outlive it.
    struct Dependencies
    {
        OpenFiles &documents;
        DocumentWriter &writer;
        DeviceLink &link;
        DeviceFiles &files;
        DeviceFileOperations &operations;
        TransferStatus &transfer;
        UserPrompts &prompts;
    };

    explicit BoardFileActions(Dependencies dependencies, QObject *parent = nullptr);

    /// Why a file or folder on the board cannot be named \p name, for the user; empty when it can.
    [[nodiscard]] static QString nameProblem(const QString &name);
    /// Asks for a name and creates an empty file in \p folder.
    [[nodiscard]] Async<void> createFile(QString folder);
    /// The same for a folder; fails on boards without folders.
    [[nodiscard]] Async<void> createFolder(QString folder);
    /// Asks before another file is replaced.
    [[nodiscard]] Async<void> rename(DeviceFileNode node, QString name);
    /// Moves all \p nodes into \p folder. Asks once before files there are replaced. Nodes that are
    /// in \p folder already are left alone.
    [[nodiscard]] Async<void> move(QList<DeviceFileNode> nodes, QString folder);
    /// Deletes files, and folders with their contents, after a question that gives the number of
    /// files. Shown as an operation that can be canceled.
    [[nodiscard]] Async<void> remove(QList<DeviceFileNode> nodes);

signals:
    /// An entry was created or renamed, and the board was listed again.
    void entryPlaced(const QString &path);
    void fileCreated(const Korvane::DeviceFileNode &node);

private:
    [[nodiscard]] Async<void> create(DeviceFileOperations::Kind kind, QString folder);
    [[nodiscard]] Async<void> moveEntry(QString from, QString to,
                                        DeviceFileOperations::Existing existing);
    [[nodiscard]] Async<void> removeEntries(QList<DeviceFileNode> nodes);
    [[nodiscard]] Async<UserPrompts::Confirmation> removalQuestion(QList<DeviceFileNode> nodes);

    Dependencies m_dependencies;
    Lifetime m_life;
};

} // namespace Korvane
