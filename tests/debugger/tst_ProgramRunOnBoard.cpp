#include "Bench.h"
#include "support/Awaited.h"
#include "support/VirtualBoard.h"

using namespace Korvane;
using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

/// Runs against a real MicroPython.
class tst_ProgramRunOnBoard final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;
    std::unique_ptr<Bench> m_bench;

    void start(const QString &source)
    {
        m_bench->shell.clear();
        m_bench->events.clear();
        m_bench->run->runOnDeviceStreamed(source);
    }
    /// What the run showed, without the beginning of it that every run has.
    QString output() const { return m_bench->shell.output().section(u"OK"_s, 1); }
    bool isWhole() const { return m_bench->events.value(m_bench->events.size() - 1) == u"whole"_s; }

private slots:
    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void init()
    {
        m_bench = std::make_unique<Bench>();
        m_bench->link.connectDevice(m_board.port());
        // Whatever the test before this one has left, a command leads back to the prompt.
        QVERIFY(awaited(m_bench->link.executeOnDevice(u"pass"_s, 20s)));
        QTRY_VERIFY(m_bench->shell.output().endsWith(u">>> "));
    }

    void runsPrograms_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("output");
        const QString line = u"Traceback (most recent call last):\r\n  File \"<stdin>\", line "_s;
        const QString undefined =
            line + u"2, in <module>\r\nNameError: name 'undefined' isn't defined\r\n>"_s;
        QTest::newRow("output") << u"print('Grüße, 世界 😀')\nprint('OK >')"_s
                                << u"Grüße, 世界 😀\r\nOK >\r\n>"_s;
        QTest::newRow("a traceback") << u"print(1)\nundefined"_s << u"1\r\n"_s + undefined;
        QTest::newRow("no program at all")
            << u"x = = 1"_s << line + u"1\r\nSyntaxError: invalid syntax\r\n>"_s;
        QTest::newRow("an end mark of its own")
            << u"print('a\\x04b')\nundefined"_s << u"ab\r\n"_s + undefined;
        QTest::newRow("a record mark of its own") << u"print('a\\x1eb')"_s << u"a\u001Eb\r\n>"_s;
        QTest::newRow("bytes that are no text")
            << u"import sys\nsys.stdout.buffer.write(b'ab\\xff')"_s << u"ab\uFFFD>"_s;
    }

    void runsPrograms()
    {
        QFETCH(QString, source);
        start(source);
        QTRY_VERIFY(isWhole());
        QTEST(output(), "output");
        QVERIFY(!m_bench->run->deviceProgramRunning());
        // The board is free for commands, and a command takes it back to its prompt.
        const auto result = awaited(m_bench->link.executeOnDevice(u"print(6 * 7)"_s, 20s));
        QVERIFY2(result, qPrintable(result ? QString() : result.error().message));
        QCOMPARE(*result, u"42\n"_s);
        QTRY_VERIFY(m_bench->shell.output().endsWith(u">>> "));
    }

    void showsAMegabyte()
    {
        start(u"for i in range(16384):\n    print('%062d' % i)"_s);
        QTRY_VERIFY_WITH_TIMEOUT(isWhole(), 60'000);
        QCOMPARE(output().size(), qsizetype(1024 * 1024 + 1));
        QVERIFY(output().endsWith(u"0016383\r\n>"));
    }

    void stopsAnEndlessLoopWhichNoOtherRunInterrupts()
    {
        start(u"print('on')\nwhile True:\n    pass"_s);
        QTRY_COMPARE(output(), u"on\r\n"_s);
        m_bench->run->runOnDeviceStreamed(u"print('other')"_s);
        QTRY_COMPARE(m_bench->events.last(), u"gave up"_s);
        QVERIFY(!m_bench->run->deviceProgramRunning());
        m_bench->link.serial().write("\x03");
        QTRY_VERIFY(isWhole());
        QVERIFY2(output().contains(u"KeyboardInterrupt"), qPrintable(output()));
        QVERIFY(!output().contains(u"other"));
    }

    void comesBackWhenTheBoardDies()
    {
        start(u"print('on')\nwhile True:\n    pass"_s);
        QTRY_COMPARE(output(), u"on\r\n"_s);
        m_board.kill();
        QTRY_COMPARE(m_bench->shell.lines().last(), u"info: Device disconnected."_s);
        QVERIFY(!m_bench->run->deviceProgramRunning());
        QVERIFY2(m_board.restart(), qPrintable(m_board.errorText()));
        init();
        start(u"print('again')"_s);
        QTRY_COMPARE(output(), u"again\r\n>"_s);
    }
};

QTEST_GUILESS_MAIN(tst_ProgramRunOnBoard)
#include "tst_ProgramRunOnBoard.moc"
