#include "board/DeviceFileContent.h"
#include "board/LinkFixture.h"
#include "board/PieceTransfer.h"
#include "board/PythonLiteral.h"
#include "board/TransferScripts.h"
#include "support/Awaited.h"
#include "support/ScriptedBoard.h"
#include "support/VirtualBoard.h"

#include <QRandomGenerator>
#include <QTest>

namespace Korvane {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

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

PieceTransfer::Source sourceOf(const QByteArray &bytes)
{
    return DeviceFileContent::sourceOf(bytes).open();
}

Async<void> append(std::shared_ptr<QByteArray> all, QByteArray bytes)
{
    all->append(bytes);
    co_return Result<void>();
}

} // namespace

class tst_PieceTransfer final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_board.start(), qPrintable(m_board.errorText()));
        QVERIFY(m_fixture.connectTo(m_board.port()));
        const auto output =
            awaited(m_fixture.link->executeOnDevice(TransferScripts::capabilities(), 5s));
        QVERIFY2(output, output ? "" : qPrintable(output.error().message));
        const auto capabilities = BoardCapabilities::parse(*output);
        QVERIFY(capabilities);
        m_capabilities = *capabilities;
        QVERIFY(m_capabilities.freeHeapBytes > 0);
    }

    void copiesThereAndBack_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<BoardCapabilities>("board");
        BoardCapabilities smallHeap = m_capabilities;
        smallHeap.freeHeapBytes = 16 * PieceSize::smallest;
        BoardCapabilities onlyRename;
        onlyRename.hasRename = true;
        BoardCapabilities onlyCrc = onlyRename;
        onlyCrc.crc32Module = m_capabilities.crc32Module;

        QTest::newRow("empty") << QByteArray() << m_capabilities;
        QTest::newRow("binary") << binary(100'000) << m_capabilities;
        QTest::newRow("small heap") << binary(3'000) << smallHeap;
        QTest::newRow("no base64 and no digest") << binary(5'000) << onlyRename;
        QTest::newRow("CRC-32 alone") << binary(5'000) << onlyCrc;
        QTest::newRow("no rename") << text(5'000) << BoardCapabilities{};
    }
    void copiesThereAndBack()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(BoardCapabilities, board);
        PieceTransfer sending(*m_fixture.link, board, {});
        const auto sent = awaited(sending.send(sourceOf(bytes), path));
        QVERIFY2(sent, sent ? "" : qPrintable(sent.error().message));
        QCOMPARE(files(), u"['there.py']"_s);

        PieceTransfer receiving(*m_fixture.link, board, {});
        const auto all = std::make_shared<QByteArray>();
        const auto received = awaited(
            receiving.receive(path, [all](QByteArray piece) { return append(all, piece); }));
        QVERIFY2(received, received ? "" : qPrintable(received.error().message));
        QCOMPARE(*all, bytes);
    }

    void keepsTheOldFileUntilTheNewOneIsWhole()
    {
        PieceTransfer first(*m_fixture.link, m_capabilities, {});
        QVERIFY(awaited(first.send(sourceOf("old"), path)));
        qint64 done = 0;
        PieceTransfer second(*m_fixture.link, m_capabilities,
                             {.moved = [&](qint64 bytes) { done = bytes; },
                              .isCanceled = [&] { return done >= 4'000; }});
        const auto sent = awaited(second.send(sourceOf(text(10'000)), path));
        QVERIFY(!sent);
        QCOMPARE(sent.error().code, ErrorCode::Canceled);
        QCOMPARE(files(), u"['there.py']"_s);
        QCOMPARE(run("print(open('/there.py').read())"), u"old"_s);
    }

    void closesTheFileWhoseCheckIsCanceled()
    {
        PieceTransfer sending(*m_fixture.link, m_capabilities, {});
        QVERIFY(awaited(sending.send(sourceOf(text(100'000)), path)));
        int checks = 0;
        PieceTransfer reading(*m_fixture.link, m_capabilities,
                              {.moved = [](qint64) {}, .isCanceled = [&] { return ++checks > 1; }});
        QCOMPARE(awaited(reading.digest(path)).error().code, ErrorCode::Canceled);
        QCOMPARE(run("print(_kf)"), u"None"_s);
    }

    void leavesAPartWhenAProgramStartsBeforeTheRename()
    {
        ScriptedBoard board;
        LinkFixture fixture;
        board.onProgram = [&](const QByteArray &program) {
            fixture.isProgramRunning = program.contains("_kh=None"); // closes the checked file
            return ScriptedBoard::reply("__OK__ __HASH__0 1 00000000");
        };
        QVERIFY(fixture.connectTo(board.port()));
        BoardCapabilities capabilities;
        capabilities.hasRename = true;
        capabilities.crc32Module = u"binascii"_s;
        PieceTransfer sending(*fixture.link, capabilities, {});
        QVERIFY(!awaited(sending.send(sourceOf({}), path)));
        QCOMPARE(sending.fileState(), PieceTransfer::FileState::Old);
        QCOMPARE(sending.leftover(), PieceTransfer::Leftover::Part);
    }

    void requestsADamagedPieceAgain()
    {
        int damaged = 3;
        ScriptedBoard board;
        LinkFixture fixture;
        board.onProgram = [&](const QByteArray &program) {
            if (!program.startsWith("_kr("))
                return ScriptedBoard::reply("__OK__");
            if (damaged-- > 0)
                return ScriptedBoard::reply("__PIECE__3 0 b'a"); // cut off
            return ScriptedBoard::reply(program.startsWith("_kr(0,") ? "__PIECE__3 0 b'abc'"
                                                                     : "__PIECE__0 0 b''");
        };
        QVERIFY(fixture.connectTo(board.port()));
        const auto all = std::make_shared<QByteArray>();
        const auto receive = [&] {
            PieceTransfer receiving(*fixture.link, {}, {});
            return awaited(
                receiving.receive(path, [all](QByteArray piece) { return append(all, piece); }));
        };
        const auto received = receive();
        QVERIFY2(received, received ? "" : qPrintable(received.error().message));
        QCOMPARE(*all, "abc"_ba);
        damaged = 4;
        QCOMPARE(receive().error().code, ErrorCode::Damaged);
        QCOMPARE(*all, "abc"_ba);
    }

    void readsBytesLiterals_data()
    {
        QTest::addColumn<QByteArray>("literal");
        QTest::addColumn<bool>("isValid");
        QTest::newRow("double quotes") << QByteArray("b\"it's\"") << true;
        QTest::newRow("escapes") << QByteArray("b'\\\\ \\x00\\xff\\n\\r\\t\\''") << true;
        QTest::newRow("cut off") << QByteArray("b'abc") << false;
        QTest::newRow("cut off in an escape") << QByteArray("b'a\\x0'") << false;
        QTest::newRow("no bytes") << QByteArray("'abc'") << false;
        QTest::newRow("two literals") << QByteArray("b'a'b'c'") << false;
    }
    void readsBytesLiterals()
    {
        QFETCH(QByteArray, literal);
        const auto bytes = PythonLiteral::toBytes(literal);
        QTEST(bytes.has_value(), "isValid");
        if (bytes)
            QCOMPARE(PythonLiteral::toBytes(PythonLiteral::fromBytes(*bytes)), bytes);
    }

private:
    QString run(const char *code)
    {
        const auto output = awaited(m_fixture.link->executeOnDevice(QString::fromLatin1(code), 5s));
        return output ? output->trimmed() : output.error().message;
    }
    QString files()
    {
        return run("import os\nprint([n for n in os.listdir('/') if 'there' in n])");
    }

    const QString path = u"/there.py"_s;
    VirtualBoard m_board{QStringList()};
    LinkFixture m_fixture;
    BoardCapabilities m_capabilities;
};

} // namespace Korvane

QTEST_GUILESS_MAIN(Korvane::tst_PieceTransfer)

#include "tst_PieceTransfer.moc"
