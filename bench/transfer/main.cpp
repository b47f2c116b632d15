// How fast files go to the virtual board and come back, and what of the time is Korvane's own.
//
//   transfer [BYTES_PER_SECOND]    limits the line, both ways; 11520 is 115200 baud
//
// Each command is done once more by the barest client there can be, which writes the same bytes
// and waits for the same reply: that much is the board's and the line's time. Prints the shortest
// times of some rounds, since what else the machine does only adds to them. Exits with 1 when
// Korvane adds more than 5 ms to a command.

#include "board/BoardDesk.h"
#include "board/BoardScripts.h"
#include "support/Awaited.h"
#include "support/VirtualBoard.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

using namespace Korvane;

namespace {

constexpr double allowedMilliseconds = 5;

/// Speaks to the board with nothing in between, and blocks.
class BareClient final
{
public:
    explicit BareClient(const QString &port)
        : m_descriptor(::open(qPrintable(port), O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC))
    {
        termios raw{};
        tcgetattr(m_descriptor, &raw);
        cfmakeraw(&raw);
        tcsetattr(m_descriptor, TCSANOW, &raw);
    }
    ~BareClient() { ::close(m_descriptor); }
    BareClient(const BareClient &) = delete;
    BareClient &operator=(const BareClient &) = delete;

    void run(const QString &script)
    {
        write("\x01");
        QByteArray said;
        while (!said.contains("raw REPL"))
            said += read();
        write(script.toUtf8() + '\x04');
        for (said.clear(); said.count('\x04') < 2 || !said.endsWith('>');)
            said += read();
        write("\x02");
    }

private:
    void waitFor(short event) const
    {
        pollfd waiting{m_descriptor, event, 0};
        ::poll(&waiting, 1, -1);
    }
    [[nodiscard]] QByteArray read()
    {
        waitFor(POLLIN);
        const ssize_t count = ::read(m_descriptor, m_buffer.data(), m_buffer.size());
        return {m_buffer.data(), std::max<ssize_t>(0, count)};
    }
    void write(QByteArrayView bytes)
    {
        while (!bytes.isEmpty()) {
            waitFor(POLLOUT);
            const ssize_t count =
                ::write(m_descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()));
            bytes = bytes.sliced(std::max<ssize_t>(0, count));
        }
    }

    int m_descriptor;
    std::array<char, 65536> m_buffer{};
};

struct Command
{
    const char *name;
    qsizetype bytes;
    QString script;
    std::function<bool(DeviceFiles &)> run;
    double bareMilliseconds = 0;
};

double shortestMilliseconds(int rounds, const std::function<void()> &run)
{
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer time;
        time.start();
        run();
        times.push_back(static_cast<double>(time.nsecsElapsed()) / 1e6);
    }
    return *std::min_element(times.begin(), times.end());
}

QByteArray text(qsizetype size)
{
    return QByteArray("print('one line of a program like any other')\n")
        .repeated(size / 46 + 1)
        .left(size);
}

QByteArray binary(qsizetype size)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator random(1);
    for (char &byte : bytes)
        byte = static_cast<char>(random.bounded(256));
    return bytes;
}

std::vector<Command> commands(qsizetype size)
{
    const QString path = QStringLiteral("/bench");
    std::vector<Command> result;
    result.push_back({"look for a file", 0, BoardScripts::exists(path), [path](DeviceFiles &files) {
                          return awaited(files.deviceFileExists(path));
                      }});
    const auto add = [&](const char *writing, const char *reading, const QByteArray &bytes) {
        result.push_back(
            {writing, size, BoardScripts::write(path, bytes), [path, bytes](DeviceFiles &files) {
                 return static_cast<bool>(
                     awaited(files.writeDeviceFile(bytes, files.permitWrite(path), path)));
             }});
        result.push_back(
            {reading, size, BoardScripts::read(path), [path, bytes](DeviceFiles &files) {
                 const auto read = awaited(files.readDeviceFile(path, path));
                 return read && *read == bytes;
             }});
    };
    add("write text", "read text", text(size));
    add("write binary", "read binary", binary(size));
    return result;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    qputenv("KORVANE_SOURCE_DIR", KORVANE_SOURCE_DIR);
    const QString rate = application.arguments().value(1);
    VirtualBoard board(rate.isEmpty() ? QStringList()
                                      : QStringList{QStringLiteral("--rate"), rate});
    if (!board.start()) {
        std::fprintf(stderr, "%s\n", qPrintable(board.errorText()));
        return 2;
    }
    const int rounds = rate.isEmpty() ? 30 : 3;
    // The whole command has to be over within its time-out, which a limited line makes short.
    auto all = commands(rate.isEmpty() ? 200'000 : 32'000);
    {
        BareClient bare(board.port());
        bare.run(all[1].script); // so that there is a file to look for
        for (Command &command : all)
            command.bareMilliseconds =
                shortestMilliseconds(rounds, [&] { bare.run(command.script); });
    }
    BoardDesk desk;
    if (!desk.connectTo(board.port()))
        return 2;
    bool isWithin = true;
    for (const Command &command : all) {
        bool isRight = true;
        const double taken =
            shortestMilliseconds(rounds, [&] { isRight &= command.run(desk.files); });
        const double own = taken - command.bareMilliseconds;
        std::printf("%-16s %7lld bytes in %7.1f ms, %8.0f bytes/s; board and line %7.1f ms, "
                    "own %4.1f ms (%.1f %%)%s\n",
                    command.name, static_cast<long long>(command.bytes), taken,
                    static_cast<double>(command.bytes) / taken * 1e3, command.bareMilliseconds, own,
                    own / taken * 100, isRight ? "" : " WRONG");
        isWithin &= isRight && own <= allowedMilliseconds;
    }
    return isWithin ? 0 : 1;
}
