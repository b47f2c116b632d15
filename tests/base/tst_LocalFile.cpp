#include "base/Background.h"
#include "base/LocalFile.h"
#include "base/NaturalOrder.h"
#include "base/Records.h"
#include "support/Files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace Korvane;

namespace {

QCoro::Task<void> collect(Background &background, std::function<int()> work, QStringList &log)
{
    const auto result = co_await background.run<int>(std::move(work));
    log << (result ? QString::number(*result) : QStringLiteral("gone"));
}

/// Calls back when it is handed on: the result has come then, and nobody has heard of it yet.
struct Announced
{
    explicit Announced(std::function<void()> onMove)
        : announce(std::move(onMove))
    {
    }
    Announced(const Announced &) = default;
    Announced(Announced &&other) noexcept
        : announce(other.announce)
    {
        if (announce)
            announce();
    }

    std::function<void()> announce;
};

QCoro::Task<void> collectAnnounced(Background &background, std::function<void()> announce,
                                   QStringList &log)
{
    const std::function<Announced()> work = [announce] { return Announced(announce); };
    const auto result = co_await background.run(work);
    log << (result ? QStringLiteral("result") : QStringLiteral("gone"));
}

} // namespace

class tst_LocalFile final : public QObject
{
    Q_OBJECT

private slots:
    void refusesWhatIsNotUtf8_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("firstBadByte");
        QTest::newRow("at the start") << QByteArray("\xFFZZ") << 1;
        QTest::newRow("in the middle") << QByteArray("ab\xE2\x28zz") << 3;
        QTest::newRow("after other characters") << QByteArray("\xE2\x82\xAC\xC3\xA9\x80") << 6;
        QTest::newRow("cut off at the end") << QByteArray("abc\xE2\x82") << 4;
    }

    void refusesWhatIsNotUtf8()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, firstBadByte);
        QTemporaryDir folder;
        put(folder.filePath(QStringLiteral("f")), bytes);
        const auto text = LocalFile::readText(folder.filePath(QStringLiteral("f")));
        QVERIFY(!text);
        QCOMPARE(text.error().code, ErrorCode::NotText);
        QVERIFY2(text.error().message.contains(QStringLiteral("(byte %1)").arg(firstBadByte)),
                 qPrintable(text.error().message));
    }

    void saysWhyAFileCannotBeRead()
    {
        QTemporaryDir folder;
        QVERIFY(!LocalFile::read(folder.filePath(QStringLiteral("missing"))));
        QCOMPARE(LocalFile::read(folder.path()).error().message, QStringLiteral("Is a directory"));
        const QString pipe = folder.filePath(QStringLiteral("pipe"));
        QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
        QCOMPARE(LocalFile::read(pipe).error().message, QStringLiteral("Not a regular file"));
    }

    void replacesAFileInOneStep()
    {
        QTemporaryDir folder;
        const QString target = folder.filePath(QStringLiteral("real.py"));
        const QString link = folder.filePath(QStringLiteral("link.py"));
        put(target, "old");
        QVERIFY(QFile::setPermissions(
            target, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup));
        const auto permissions = QFile::permissions(target);
        QVERIFY(QFile::link(QStringLiteral("real.py"), link));

        QVERIFY(LocalFile::writeAtomically(link, "new"));

        QCOMPARE(bytesOf(target), QByteArray("new"));
        QVERIFY2(QFileInfo(link).isSymLink(), "the link was replaced by a file");
        QCOMPARE(QFile::permissions(target), permissions);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 2);
    }

    void leavesTheOldFileWholeWhenItCannotWrite()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("f"));
        put(path, "old");
        // A limit on file sizes fails a write in its middle, as a full disk does.
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit unlimited{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
        const rlimit small{4096, unlimited.rlim_max};
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        const auto full = LocalFile::writeAtomically(path, QByteArray(100'000, 'x'));
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &unlimited), 0);

        QVERIFY(!full);
        QVERIFY(!full.error().message.isEmpty());
        QCOMPARE(bytesOf(path), QByteArray("old"));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{QStringLiteral("f")});
    }

    void refusesTargetsThatAreNoFiles_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("device") << QStringLiteral("/dev/null");
        QTest::newRow("folder") << QDir::tempPath();
        QTest::newRow("missing parent") << QStringLiteral("/no/such/folder/f");
    }

    void refusesTargetsThatAreNoFiles()
    {
        QFETCH(QString, path);
        const auto written = LocalFile::writeAtomically(path, "x");
        QVERIFY(!written);
        QVERIFY(!written.error().message.isEmpty());
    }

    void sortsAsFileManagersDo()
    {
        QList<FileNode> nodes;
        for (const char *name : {"b.py", "a10.txt", "a2.txt", "B1.py", "Äpfel.py", "zeta"})
            nodes.append({.name = QString::fromUtf8(name), .path = {}, .isDirectory = false});
        nodes.append({.name = QStringLiteral("z"), .path = {}, .isDirectory = true});
        nodes.append({.name = QStringLiteral("A"), .path = {}, .isDirectory = true});
        NaturalOrder().sortFoldersFirst(nodes);
        QStringList names;
        for (const FileNode &node : nodes)
            names << node.name;
        QCOMPARE(names.join(u' '), QStringLiteral("A z a2.txt a10.txt Äpfel.py b.py B1.py zeta"));
    }

    void waitsForWorkElsewhereWithoutHoldingUpTheLoop()
    {
        Background background;
        QStringList log;
        std::atomic<bool> mayEnd = false;
        const auto waitForPermission = [&mayEnd] {
            while (!mayEnd)
                std::this_thread::yield();
            return 1;
        };
        auto slow = collect(background, waitForPermission, log);
        auto quick = collect(
            background, [] { return 2; }, log);
        QTRY_COMPARE(log, QStringList{QStringLiteral("2")});
        mayEnd = true;
        QTRY_COMPARE(log.size(), 2);
    }

    void leavesWorkBehindThatDoesNotEnd()
    {
        QStringList log;
        auto mayEnd = std::make_shared<std::atomic<bool>>(false);
        auto ended = std::make_shared<std::atomic<bool>>(false);
        const auto work = [mayEnd, ended] {
            while (!*mayEnd)
                std::this_thread::yield();
            *ended = true;
            return 1;
        };
        {
            Background background;
            auto task = collect(background, work, log);
        }
        QCOMPARE(log, QStringList{QStringLiteral("gone")});
        *mayEnd = true;
        QTRY_VERIFY(*ended);
        QCoreApplication::processEvents();
        QCOMPARE(log.size(), 1);
    }

    void goesCleanlyWithAResultOnItsWay()
    {
        QStringList log;
        auto background = std::make_unique<Background>();
        const QThread *mainThread = QThread::currentThread();
        bool isPosted = false;
        const auto goBeforeTheWaiterHears = [&] {
            if (QThread::currentThread() == mainThread && !std::exchange(isPosted, true))
                QMetaObject::invokeMethod(
                    qApp, [&] { background.reset(); }, Qt::QueuedConnection);
        };
        const auto task = collectAnnounced(*background, goBeforeTheWaiterHears, log);
        QTRY_COMPARE(log, QStringList{QStringLiteral("gone")});
    }
};

QTEST_GUILESS_MAIN(tst_LocalFile)
#include "tst_LocalFile.moc"
