#include "app/RunningInstance.h"

#include <QCryptographicHash>
#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

namespace Korvane {

namespace {

constexpr int answerTimeoutMilliseconds = 1000;
constexpr int maxWaitingClients = 8;

std::optional<sockaddr_un> address(const QString &path)
{
    sockaddr_un result{};
    result.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    if (bytes.isEmpty() || static_cast<size_t>(bytes.size()) >= sizeof(result.sun_path))
        return std::nullopt;
    std::memcpy(result.sun_path, bytes.constData(), static_cast<size_t>(bytes.size()));
    return result;
}

/// Waits for at most `answerTimeoutMilliseconds`, and so does what is sent and received then; with
/// SOCK_NONBLOCK in \p flags, not at all. Sets \p error to EAGAIN when another program listens
/// there and does not respond.
FileDescriptor connectedTo(const QString &path, int &error, int flags = 0)
{
    const std::optional<sockaddr_un> name = address(path);
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    const timeval timeout{answerTimeoutMilliseconds / 1000, 0};
    error = 0;
    if (!name || !socket.isValid())
        return {};
    // The first one also limits connect(), which waits while the queue of the listener is full.
    ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr *>(&*name), sizeof(*name)) == 0)
        return socket;
    error = errno;
    return {};
}

bool sendAll(int socket, const QByteArray &bytes)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(socket, bytes.constData() + sent,
                                     static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        sent += count;
    }
    return true;
}

} // namespace

QString RunningInstance::defaultPath()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        return {};
    const QString settings =
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QByteArray hash =
        QCryptographicHash::hash(settings.toUtf8(), QCryptographicHash::Sha256).toHex().left(12);
    return folder + QStringLiteral("/korvane-") + QString::fromLatin1(hash);
}

bool RunningInstance::handOver(const CommandLine &commandLine, const QString &path)
{
    const QByteArray message = commandLine.toMessage();
    int error = 0;
    const FileDescriptor socket = connectedTo(path, error);
    if (!socket.isValid() || message.size() > maxMessageBytes)
        return false;
    if (!sendAll(socket.get(), message) || ::shutdown(socket.get(), SHUT_WR) != 0)
        return false;
    char answer = 0;
    return ::recv(socket.get(), &answer, 1, 0) == 1 && answer == acceptedByte;
}

RunningInstance::RunningInstance(const QString &path, QObject *parent)
    : QObject(parent)
{
    const std::optional<sockaddr_un> name = address(path);
    int error = 0;
    if (!name || connectedTo(path, error, SOCK_NONBLOCK).isValid() || error == EAGAIN)
        return;          // another program listens there
    QFile::remove(path); // of a program that was killed
    m_listener.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!m_listener.isValid()
        || ::bind(m_listener.get(), reinterpret_cast<const sockaddr *>(&*name), sizeof(*name)) != 0
        || ::listen(m_listener.get(), maxWaitingClients) != 0) {
        m_listener.reset();
        return;
    }
    m_path = path;
    m_notifier = std::make_unique<QSocketNotifier>(m_listener.get(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &RunningInstance::acceptClient);
}

RunningInstance::~RunningInstance()
{
    if (!m_path.isEmpty())
        QFile::remove(m_path);
}

void RunningInstance::acceptClient()
{
    auto client = std::make_shared<Client>();
    client->socket.reset(
        ::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!client->socket.isValid() || m_clients.size() >= maxWaitingClients)
        return;
    const int descriptor = client->socket.get();
    client->notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    connect(client->notifier.get(), &QSocketNotifier::activated, this,
            [this, descriptor] { readClient(descriptor); });
    m_clients.insert(descriptor, client);
}

void RunningInstance::readClient(int descriptor)
{
    const std::shared_ptr<Client> client = m_clients.value(descriptor);
    std::array<char, 4096> buffer;
    const ssize_t count = ::recv(descriptor, buffer.data(), buffer.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count > 0) {
        client->received.append(buffer.data(), count);
        if (client->received.size() <= maxMessageBytes)
            return;
    }
    // This runs in a signal of the notifier.
    client->notifier->setEnabled(false);
    client->notifier.release()->deleteLater();
    m_clients.remove(descriptor);
    const std::optional<CommandLine> commandLine =
        count == 0 ? CommandLine::fromMessage(client->received) : std::nullopt;
    if (!commandLine)
        return;
    sendAll(descriptor, QByteArray(1, acceptedByte));
    emit commandLineReceived(*commandLine);
}

} // namespace Korvane
