// How fast files are sent to the virtual board and read back, and how much time Korvane adds.
//
//   transfer [BYTES_PER_SECOND [HEAP]]    limits the link, both ways; 11520 is 115200 baud, 0 is
//                                         without limit. HEAP is the board's memory, such as 64K
//
// Without HEAP it measures files of 2,000 bytes, which are sent in one command. Each command is
// also executed by a minimal client, which writes the same bytes and waits for the same reply: its
// time is that of the board and the link. Prints the shortest times of several rounds, since other
// work of the machine only adds to them. Exits with 1 when Korvane adds more than 5 ms to a
// command.
//
// With HEAP it measures files of 1 kB to 1 MB, most of which are transferred in pieces, as a share
// of the link's rate, and the longest time between two turns of the event loop, as elapsed time and
// as processor time of the main thread. Exits with 1 when a copy is wrong or, over a limited link,
// the window would not respond for more than 16 ms.
//
//   transfer matrix [LARGEST]    the same for each of three heaps with and without a limit of 11520
//                                bytes a second. With the limit, files of up to LARGEST bytes (100
//                                kB)

#include "Measure.h"
#include "board/BoardFixture.h"
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
#include <utility>
#include <vector>

using namespace Korvane;

namespace {

constexpr double allowedMilliseconds = 5;
constexpr double allowedGapMilliseconds = 16; // between two turns of the event loop

/// Writes to the board's port directly, and blocks.
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
        QByteArray reply;
        while (!reply.contains("raw REPL"))
            reply += read();
        write(script.toUtf8() + '\x04');
        for (reply.clear(); reply.count('\x04') < 2 || !reply.endsWith('>');)
            reply += read();
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

/// The longest time between two turns of the event loop in all copies over a limited link.
double longestGap = 0;

/// Copies a file of \p size there and back. \p rate is 0 for a link without limit.
bool measureSize(DeviceFiles &files, qsizetype size, double rate)
{
    const QString path = QStringLiteral("/bench");
    bool isRight = true;
    Bench::TurnTimer turns;
    for (const bool isText : {true, false}) {
        const QByteArray bytes = isText ? text(size) : binary(size);
        QElapsedTimer time;
        const auto print = [&](const char *direction, const QString &error) {
            const double milliseconds = static_cast<double>(time.nsecsElapsed()) / 1e6;
            turns.stop();
            if (rate > 0)
                longestGap = std::max(longestGap, turns.longestGapMilliseconds());
            const double speed = static_cast<double>(size) * 1e3 / milliseconds;
            std::printf("%-5s %-6s %8lld bytes in %9.1f ms, %8.0f bytes/s", direction,
                        isText ? "text" : "binary", static_cast<long long>(size), milliseconds,
                        speed);
            if (rate > 0)
                std::printf(", %.0f %% of the link", speed * 100 / rate);
            std::printf(", turns of %.1f ms (own work %.1f)", turns.longestGapMilliseconds(),
                        turns.longestWorkMilliseconds());
            std::printf("%s%s\n", error.isEmpty() ? "" : " FAILED: ", qPrintable(error));
            std::fflush(stdout);
            isRight &= error.isEmpty();
        };
        turns.start();
        time.start();
        const auto sent = awaited(files.writeDeviceFile(bytes, files.permitWrite(path), path));
        print("write", sent ? QString() : sent.error().message);
        awaited(files.refreshDeviceFiles());
        turns.start();
        time.start();
        const auto read = awaited(files.readDeviceFile(path, path));
        print("read",
              !read                ? read.error().message
                  : *read == bytes ? QString()
                                   : QStringLiteral("other bytes"));
    }
    return isRight;
}

bool measureSizes(const QString &port, double rate, qsizetype largest)
{
    BoardFixture fixture;
    bool isRight = fixture.connectTo(port);
    for (const qsizetype size : {1'000, 2'000, 10'000, 100'000, 1'000'000}) {
        if (size > largest)
            break;
        isRight = isRight && measureSize(fixture.files, size, rate);
    }
    return isRight && longestGap <= allowedGapMilliseconds;
}

QStringList options(const QString &rate, const QString &heap)
{
    QStringList options;
    if (!rate.isEmpty())
        options << QStringLiteral("--rate") << rate;
    if (!heap.isEmpty())
        options << QStringLiteral("--heap") << heap;
    return options;
}

bool measureMatrix(qsizetype largest)
{
    bool isRight = true;
    for (const char *rate : {"", "11520"}) {
        for (const char *heap : {"64K", "192K", "2M"}) {
            VirtualBoard board(options(QLatin1StringView(rate), QLatin1StringView(heap)));
            if (!board.start())
                return false;
            std::printf("heap %s, %s bytes/s\n", heap, *rate ? rate : "unlimited");
            const double limit = QByteArray(rate).toDouble();
            isRight &= measureSizes(board.port(), limit, limit > 0 ? largest : 1'000'000);
        }
    }
    std::printf("longest gap %.1f ms over the limited link\n", longestGap);
    return isRight;
}

} // namespace

int main(int argc, char **argv)
{
    Bench::limitTime();
    QCoreApplication application(argc, argv);
    qputenv("KORVANE_SOURCE_DIR", KORVANE_SOURCE_DIR);
    QString rate = application.arguments().value(1);
    if (rate == u'0')
        rate.clear();
    const QString heap = application.arguments().value(2);
    if (rate == u"matrix")
        return measureMatrix(heap.isEmpty() ? 100'000 : heap.toLongLong()) ? 0 : 1;
    VirtualBoard board(options(rate, heap));
    if (!board.start()) {
        std::fprintf(stderr, "%s\n", qPrintable(board.errorText()));
        return 2;
    }
    if (!heap.isEmpty())
        return measureSizes(board.port(), rate.toDouble(), 1'000'000) ? 0 : 1;
    const int rounds = rate.isEmpty() ? 30 : 3;
    auto all = commands(2'000);
    {
        BareClient bare(board.port());
        bare.run(all[1].script); // so that there is a file to look for
        for (Command &command : all)
            command.bareMilliseconds =
                shortestMilliseconds(rounds, [&] { bare.run(command.script); });
    }
    BoardFixture fixture;
    if (!fixture.connectTo(board.port()))
        return 2;
    bool isWithin = true;
    for (const Command &command : all) {
        bool isRight = true;
        const double taken =
            shortestMilliseconds(rounds, [&] { isRight &= command.run(fixture.files); });
        const double own = taken - command.bareMilliseconds;
        std::printf("%-16s %7lld bytes in %7.1f ms, %8.0f bytes/s; board and link %7.1f ms, "
                    "own %4.1f ms (%.1f %%)%s\n",
                    command.name, static_cast<long long>(command.bytes), taken,
                    static_cast<double>(command.bytes) / taken * 1e3, command.bareMilliseconds, own,
                    own / taken * 100, isRight ? "" : " WRONG");
        isWithin &= isRight && own <= allowedMilliseconds;
    }
    return isWithin ? 0 : 1;
}
