#pragma once

#include "app/CommandLine.h"
#include "base/FileDescriptor.h"

#include <QHash>
#include <QObject>

#include <memory>

class QSocketNotifier;

namespace Korvane {

/// Keeps the program to one window per user: a second start of the program sends its command line
/// to the first one.
///
/// The first program listens on a Unix socket in the user's runtime folder, which only the user can
/// reach. A message is CommandLine::toMessage() up to the end of the stream, at most
/// `maxMessageBytes`; the answer is one byte, `acceptedByte`. Main thread only.
class RunningInstance final : public QObject
{
    Q_OBJECT

public:
    static constexpr qsizetype maxMessageBytes = 256 * 1024;
    static constexpr char acceptedByte = 'k';

    /// The socket's path: in the runtime folder, with a name made from the settings folder, so that
    /// instances with different settings are independent. Empty when there is no such folder.
    [[nodiscard]] static QString defaultPath();

    /// Sends \p commandLine to the program that listens at \p path. False when none accepts it; the
    /// caller then opens a window of its own. Blocks for at most a second each to connect, for
    /// every write and for the answer.
    [[nodiscard]] static bool handOver(const CommandLine &commandLine, const QString &path);

    /// Listens at \p path and replaces a socket without a listening process. Failing to listen
    /// isn't an error for the user: a second start then opens a second window.
    explicit RunningInstance(const QString &path, QObject *parent = nullptr);
    /// Stops listening and removes the socket.
    ~RunningInstance() override;

signals:
    /// A second start has sent this. When it is empty, the window is to be shown.
    void commandLineReceived(const CommandLine &commandLine);

private:
    struct Client
    {
        FileDescriptor socket;
        QByteArray received;
        std::unique_ptr<QSocketNotifier> notifier;
    };

    void acceptClient();
    void readClient(int descriptor);

    QString m_path;
    FileDescriptor m_listener;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QHash<int, std::shared_ptr<Client>> m_clients;
};

} // namespace Korvane
