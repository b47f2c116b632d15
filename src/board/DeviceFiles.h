#pragma once

#include "base/Lifetime.h"
#include "base/UserPrompts.h"
#include "board/BoardRecords.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QObject>
#include <QSet>

#include <optional>

namespace Korvane {

class DeviceLink;
class ShellSink;

/// The board's file system: its tree as last listed, and the operations on single files.
///
/// Operations report failures as error lines in the Shell and return an empty result; they raise
/// nothing. The \p label of an operation is the name used in its messages. Main thread only; the
/// link lets one command after the other through.
class DeviceFiles final : public QObject
{
    Q_OBJECT

public:
    /// All three must outlive this.
    DeviceFiles(DeviceLink &link, ShellSink &shell, UserPrompts &prompts,
                QObject *parent = nullptr);

    /// Lists the whole board. On failure the old tree stays.
    QCoro::Task<void> refreshDeviceFiles();
    [[nodiscard]] QCoro::Task<std::optional<QByteArray>> readDeviceFile(QString path,
                                                                        QString label);
    /// A folder counts as existing. When the board does not answer, the tree does, for files alone.
    [[nodiscard]] QCoro::Task<bool> deviceFileExists(QString path);
    /// Creates or replaces the file, without asking.
    [[nodiscard]] QCoro::Task<bool> writeDeviceFile(QByteArray bytes, QString path, QString label);
    [[nodiscard]] QCoro::Task<bool> writeTextToDevice(QString text, QString path, QString label);
    /// Deletes a file or an empty folder, without asking, and lists the board again. False when the
    /// board did not say that it has.
    QCoro::Task<bool> deleteDeviceNode(DeviceFileNode node);
    /// Makes each folder, parents first; those that exist are left alone.
    [[nodiscard]] QCoro::Task<bool> makeDeviceFolders(QStringList paths);

    /// Asks; remembers "Don't ask again" until the link ends.
    [[nodiscard]] QCoro::Task<bool> confirmAction(UserPrompts::Confirmation question);
    /// Asks whether the file at \p path may be replaced. Asks also about a confirmed path: whoever
    /// calls looks at `isOverwriteConfirmed` first.
    [[nodiscard]] QCoro::Task<bool> confirmOverwrite(QString label, QString path);
    [[nodiscard]] bool isOverwriteConfirmed(const QString &path) const
    {
        return m_overwriteConfirmedPaths.contains(path);
    }

    /// The top level of the last listing.
    [[nodiscard]] const QList<DeviceFileNode> &deviceFileNodes() const { return m_deviceFileNodes; }
    /// The entries of a folder of the tree, or null when it has no such folder. Valid until the
    /// next listing.
    [[nodiscard]] const QList<DeviceFileNode> *deviceChildren(const QString &path) const;
    /// Valid until the next listing.
    [[nodiscard]] const DeviceFileNode *deviceNode(const QString &path) const;
    [[nodiscard]] bool isLoadingDeviceFiles() const { return m_listings > 0; }
    /// The board folder being browsed, "/" at first.
    [[nodiscard]] const QString &deviceWorkingDir() const { return m_deviceWorkingDir; }
    void setDeviceWorkingDir(const QString &path);
    /// The port as messages name it: its path, "Not connected" or "Connecting…".
    [[nodiscard]] QString portLabel() const;

    /// Forgets everything about the board.
    void linkEnded();

signals:
    void deviceFileNodesChanged();
    void isLoadingDeviceFilesChanged();
    void deviceWorkingDirChanged();

private:
    QCoro::Task<void> list(Lifetime::Watch life);
    void setListings(int listings);

    DeviceLink &m_link;
    ShellSink &m_shell;
    UserPrompts &m_prompts;
    QList<DeviceFileNode> m_deviceFileNodes;
    QString m_deviceWorkingDir = QStringLiteral("/");
    QSet<QString> m_overwriteConfirmedPaths;
    /// Listings under way: one may start before another has ended.
    int m_listings = 0;
    /// Counts the links that ended, so that an answer of an earlier board is not taken for this
    /// one's.
    int m_linkNumber = 0;
    Lifetime m_life;
};

} // namespace Korvane
