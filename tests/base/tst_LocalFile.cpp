#include "base/Background.h"
#include "base/LocalFile.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace Korvane;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

template <typename T>
QCoro::Task<void> collect(Background &background, std::function<T()> work, QStringList &log)
{
    const auto result = co_await background.run(std::move(work));
    log << (result ? u"result"_s : u"abandoned"_s);
}

} // namespace

class tst_LocalFile final : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    const QString m_path = m_folder.filePath(u"f"_s);

private slots:
    void reportsTheFirstByteThatIsNotUtf8()
    {
        const QList<std::pair<QByteArray, int>> cases{{"\xFFZZ", 1},
                                                      {"ab\xE2\x28zz", 3},
                                                      {"\xE2\x82\xAC\xC3\xA9\x80", 6},
                                                      {"abc\xE2\x82", 4}};
        for (const auto &[bytes, firstBadByte] : cases) {
            put(m_path, bytes);
            const auto text = LocalFile::readText(m_path);
            QVERIFY(!text && text.error().code == ErrorCode::NotText);
            QVERIFY2(text.error().message.contains(u"(byte %1)"_s.arg(firstBadByte)),
                     qPrintable(text.error().message));
        }
    }

    void replacesAFileInOneStep()
    {
        const QString link = m_folder.filePath(u"link.py"_s);
        put(m_path, "old");
        QVERIFY(
            QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        const auto permissions = QFile::permissions(m_path);
        const QByteArray file = QFile::encodeName(m_path);
        const bool hasAttributes = ::setxattr(file, "user.note", "kept", 4, 0) == 0;
        QVERIFY(QFile::link(u"f"_s, link));
        QVERIFY(LocalFile::writeAtomically(link, "new"));
        QCOMPARE(bytesOf(m_path), QByteArray("new"));
        QVERIFY2(QFileInfo(link).isSymLink(), "the link was replaced by a file");
        QCOMPARE(QFile::permissions(m_path), permissions);
        char note[5] = {};
        QVERIFY(!hasAttributes || ::getxattr(file, "user.note", note, 4) == 4);
        QCOMPARE(QByteArray(note), hasAttributes ? "kept"_ba : ""_ba);
        QVERIFY(QFile::remove(link));
    }

    void leavesTheOldFileUnchangedWhenTheDiskIsFull()
    {
        put(m_path, "old");
        // A limit on file sizes fails a write in its middle, as a full disk does.
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit unlimited{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
        const rlimit small{4096, unlimited.rlim_max};
        for (const int size : {5000, 16'384, 100'000}) { // Qt buffers up to 16,384 bytes
            QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
            const auto full = LocalFile::writeAtomically(m_path, QByteArray(size, 'x'));
            QCOMPARE(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
            QVERIFY2(!full, qPrintable(QString::number(size)));
            QCOMPARE(full.error().message, u"File too large"_s);
            QCOMPARE(bytesOf(m_path), "old"_ba);
            QCOMPARE(QDir(m_folder.path()).entryList(QDir::Files), QStringList{u"f"_s});
        }
    }

    void refusesWhatIsNoFile()
    {
        QCOMPARE(LocalFile::read(m_folder.path()).error().message, u"Is a directory"_s);
        QVERIFY(!LocalFile::read(u"/no/such/folder/f"_s));
        const QString pipe = m_folder.filePath(u"pipe"_s);
        QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
        QCOMPARE(LocalFile::read(pipe).error().message, u"Not a regular file"_s);
        for (const QString &path : {u"/dev/null"_s, m_folder.path(), u"/no/such/folder/f"_s}) {
            const auto written = LocalFile::writeAtomically(path, "x");
            QVERIFY2(!written && !written.error().message.isEmpty(), qPrintable(path));
        }
    }

    void abandonsWorkThatDoesNotEnd()
    {
        QStringList log;
        auto mayEnd = std::make_shared<std::atomic<bool>>(false);
        auto ended = std::make_shared<std::atomic<bool>>(false);
        const std::function<int()> endless = [mayEnd, ended] {
            while (!*mayEnd)
                std::this_thread::yield();
            *ended = true;
            return 1;
        };
        const std::function<int()> quick = [] { return 2; };
        auto background = std::make_unique<Background>(2, 10ms);
        const auto first = collect(*background, endless, log);
        const auto second = collect(*background, quick, log);
        QTRY_COMPARE(log, QStringList{u"result"_s}); // the loop ran meanwhile
        background.reset();
        QCOMPARE(log.mid(1), QStringList{u"abandoned"_s});
        *mayEnd = true;
        QTRY_VERIFY(*ended);
        QCoreApplication::processEvents();
        QCOMPARE(log.size(), 2);
    }
};

QTEST_GUILESS_MAIN(tst_LocalFile)
#include "tst_LocalFile.moc"
