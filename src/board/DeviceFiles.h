#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "base/UserPrompts.h"
#include "board/BoardRecords.h"
#include "board/BoardScripts.h"
#include "board/DeviceFileContent.h"
#include "board/WritePermit.h"

#include <QObject>
#include <QSet>

#include <functional>
#include <memory>
#include <optional>

namespace Korvane {

class DeviceLink;
class TransferStatus;

/// The board's file system: its tree as last listed, and the operations on single files.
///
/// Operations return errors whose message is the full text for the user. The \p label of an
/// operation is the name used in its messages. Main thread only; the link runs one command after
/// the other.
class DeviceFiles final : public QObject
{
    Q_OBJECT

public:
    /// The path of a permit, and the question that requestWrite asks before it yields one.
    struct WriteRequest
    {
        QString path;
        /// Returns the question to ask, given whether \p path exists on the board; nothing when
        /// none is needed. Without this function nothing is asked at all.
        std::function<std::optional<UserPrompts::Confirmation>(bool exists)> question = {};
        /// The result when the user declines.
        Error declined = {ErrorCode::Canceled, {}};
        /// False for a question that doesn't depend on what exists: no command is sent then.
        bool looksForPath = true;
    };

    /// All must outlive this.
    DeviceFiles(DeviceLink &link, UserPrompts &prompts, TransferStatus &transfer,
                QObject *parent = nullptr);

    /// Lists the whole board; does nothing while not connected. On failure the old tree stays, and
    /// the error is in `listingError`. The task may be dropped.
    QCoro::Task<void> refreshDeviceFiles();
    /// The bytes of the file. Shown as a transfer, which can be canceled, when the file is not
    /// small.
    [[nodiscard]] Async<QByteArray> readDeviceFile(QString path, QString label);
    /// Whether the file holds one of \p contents, by their digests.
    [[nodiscard]] Async<bool> deviceFileHolds(QString path, QList<QByteArray> contents);
    /// Reads the file into \p sink, reporting to \p observer. On failure \p sink may have received
    /// a part.
    [[nodiscard]] Async<void> receiveFile(QString path, QString label, PieceTransfer::Sink sink,
                                          PieceTransfer::Observer observer);
    /// Whether there is a file or folder at \p path. When the board doesn't answer, the tree is
    /// searched, for files only.
    [[nodiscard]] QCoro::Task<bool> deviceFileExists(QString path);
    /// As deviceFileExists, but fails when the board doesn't answer.
    [[nodiscard]] Async<bool> checkDeviceFileExists(QString path);
    /// Creates or replaces the file of \p permit. When the board reports an error, it is listed
    /// again, from the event loop. Fails with `BoardReplaced` when the permit was given for another
    /// connection. Shown as a transfer, which can be canceled, when the content is not small.
    [[nodiscard]] Async<void> writeDeviceFile(QByteArray bytes, WritePermit permit, QString label);
    /// The same from \p source, reporting to \p observer.
    [[nodiscard]] Async<void> sendFile(DeviceFileContent::Source source, WritePermit permit,
                                       QString label, PieceTransfer::Observer observer);
    /// As writeDeviceFile, with \p text in UTF-8. A text with a lone surrogate is refused.
    [[nodiscard]] Async<void> writeTextToDevice(QString text, WritePermit permit, QString label);
    /// Deletes a file or an empty folder, without asking, and lists the board again. When the
    /// board's reply has neither a confirmation nor a reason, the error's message is empty.
    [[nodiscard]] Async<void> deleteDeviceNode(DeviceFileNode node);
    /// The same without listing the board again.
    [[nodiscard]] Async<void> removeEntry(QString path, BoardScripts::NodeKind kind);
    /// Creates each folder, parents first; those that exist are left alone. The paths are that of
    /// \p permit or below it.
    [[nodiscard]] Async<void> makeDeviceFolders(QStringList paths, WritePermit permit);

    /// A permit for the board that is connected now, without asking, and without holding the path.
    [[nodiscard]] WritePermit permitWrite(const QString &path) const;
    /// Fails with `BoardReplaced` when \p permit was given for another connection. While not
    /// connected it succeeds: the command itself fails.
    [[nodiscard]] Result<void> check(const WritePermit &permit) const;
    /// Fails with `BoardReplaced` unless the connected board is \p identity (of
    /// DeviceLink::boardIdentity).
    [[nodiscard]] Async<void> checkBoard(QString identity);
    /// Asks the question of \p request, if any, and yields a permit to create or replace a file.
    /// The permit holds the path: until it is destroyed, a second request for the path fails with
    /// `Canceled`.
    [[nodiscard]] Async<WritePermit> requestWrite(WriteRequest request);
    /// The request of a transfer by the user: asks before a file is replaced, unless "Don't ask
    /// again" was chosen for it on this connection. \p declinedNotice is the message when declined.
    [[nodiscard]] WriteRequest replaceRequest(const QString &label, const QString &path,
                                              const QString &declinedNotice) const;
    /// Asks \p question. Fails with \p declined when the user declines, and with `BoardReplaced`
    /// when another connection was made while the question was open.
    [[nodiscard]] Async<void> confirmAction(UserPrompts::Confirmation question,
                                            Error declined = {ErrorCode::Canceled, {}});

    [[nodiscard]] BoardProfile &profile() { return m_profile; }
    [[nodiscard]] DeviceFileContent &content() { return m_content; }

    /// The top level of the last listing.
    [[nodiscard]] const QList<DeviceFileNode> &deviceFileNodes() const { return m_deviceFileNodes; }
    /// The entries of a folder of the tree, or null when it has no such folder. Valid until the
    /// next listing.
    [[nodiscard]] const QList<DeviceFileNode> *deviceChildren(const QString &path) const;
    /// The file or folder at \p path in the tree, or null. Valid until the next listing.
    [[nodiscard]] const DeviceFileNode *deviceNode(const QString &path) const;
    /// Why the last listing failed; nothing after one that succeeded.
    [[nodiscard]] const std::optional<Error> &listingError() const { return m_listingError; }
    [[nodiscard]] bool isLoadingDeviceFiles() const { return m_listings > 0; }
    /// The board folder being browsed, "/" at first.
    [[nodiscard]] const QString &deviceWorkingDir() const { return m_deviceWorkingDir; }
    void setDeviceWorkingDir(const QString &path);
    /// The port as messages name it: its path, "Not connected" or "Connecting…".
    [[nodiscard]] QString portLabel() const;

signals:
    void deviceFileNodesChanged();
    /// The file was created or replaced, by any operation of this class.
    void fileWritten(const QString &path);
    void listingFailed(const Korvane::Error &error);
    void isLoadingDeviceFilesChanged();
    void deviceWorkingDirChanged();

private:
    [[nodiscard]] Async<void> list();
    [[nodiscard]] Result<void> checkConnection(int connection) const;
    void setListings(int listings);
    void clearBoardState();

    DeviceLink &m_link;
    UserPrompts &m_prompts;
    TransferStatus &m_transfer;
    BoardProfile m_profile;
    DeviceFileContent m_content;
    QList<DeviceFileNode> m_deviceFileNodes;
    std::optional<Error> m_listingError;
    QString m_deviceWorkingDir = QStringLiteral("/");
    QSet<QString> m_overwriteConfirmedPaths;
    /// Replaced when the link ends; permits of the connection before share the old one.
    std::shared_ptr<ClaimedPaths> m_claimedPaths = std::make_shared<ClaimedPaths>();
    /// Listings in progress: one may start before another has ended.
    int m_listings = 0;
    Lifetime m_life;
};

} // namespace Korvane
