#include "Desk.h"

#include "support/Awaited.h"
#include "support/VirtualBoard.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The link against a real MicroPython.
class tst_DeviceLinkOnBoard final : public QObject
{
    Q_OBJECT

private:
    VirtualBoard m_board;
    Desk m_desk;

    QString run(const QString &code, std::chrono::seconds timeout = 60s)
    {
        return told(awaited(m_desk.link->executeOnDeviceRaw(code, timeout)));
    }

private slots:
    void initTestCase() { QVERIFY2(m_board.start(), qPrintable(m_board.errorText())); }

    void init()
    {
        if (!m_desk.link->connectionState().isConnected())
            QVERIFY(m_desk.connectTo(m_board.port()));
    }

    void runsPrograms_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("result");
        QTest::newRow("output") << u"print(6 * 7)"_s << u"42\n|"_s;
        QTest::newRow("several lines")
            << u"for i in range(3):\n    print(i)\n"_s << u"0\n1\n2\n|"_s;
        QTest::newRow("beyond ASCII") << u"print('Grüße, 世界 😀')"_s << u"Grüße, 世界 😀\n|"_s;
        QTest::newRow("OK and prompts as output") << u"print('OK >>> >')"_s << u"OK >>> >\n|"_s;
        QTest::newRow("traceback")
            << u"print(1)\nundefined"_s
            << u"1\n|Traceback (most recent call last):\n  File \"<stdin>\", line 2, in <module>\n"
               "NameError: name 'undefined' isn't defined\n"_s;
        QTest::newRow("60 kB of program")
            << u"x = '"_s + QString(60'000, u'x') + u"'\nprint(len(x))"_s << u"60000\n|"_s;
    }

    void runsPrograms()
    {
        QFETCH(QString, code);
        QFETCH(QString, result);
        QCOMPARE(run(code), result);
        QVERIFY(m_desk.isAtRest());
    }

    void collectsAMegabyte()
    {
        const QString result = run(u"for i in range(16384):\n    print('%063d' % i)"_s);
        QCOMPARE(result.size(), qsizetype(1024 * 1024 + 1));
        QVERIFY(result.endsWith(u"00016383\n|"));
    }

    void runsTwoCommandsOneAfterTheOther()
    {
        auto first = m_desk.run("import time\ntime.sleep(0.2)\nprint('first')");
        auto second = m_desk.run("print('second')");
        QCOMPARE(told(awaited(std::move(second))), u"second\n|"_s);
        QCOMPARE(told(awaited(std::move(first))), u"first\n|"_s);
    }

    void endsAnEndlessLoopByTheTimeOut()
    {
        QCOMPARE(run(u"while True:\n    pass"_s, 1s), u"error: Command timed out after 1s"_s);
        QVERIFY(m_desk.isAtRest());
        // The board still loops, and the Ctrl-B has gone to the program: a Ctrl-C brings it back.
        m_desk.data.clear();
        m_desk.link->serial().write("\x03");
        QTRY_VERIFY2(m_desk.data.contains("KeyboardInterrupt"), m_desk.data.constData());
        QCOMPARE(run(u"print(1)"_s), u"1\n|"_s);
    }

    void comesBackWhenTheBoardDiesInTheMiddle()
    {
        auto running = m_desk.run("print('x')\nwhile True:\n    pass", 1s);
        QTest::qWait(100);
        m_desk.log.clear();
        m_board.kill();
        QTRY_COMPARE(m_desk.log,
                     QStringList({u"flush"_s, u"reset"_s, u"info: Device disconnected."_s}));
        QVERIFY(m_desk.link->deviceCommandInFlight());
        QVERIFY2(m_board.restart(), qPrintable(m_board.errorText()));
        QVERIFY(m_desk.connectTo(m_board.port()));
        QCOMPARE(run(u"print('again')"_s), u"again\n|"_s);
        QCOMPARE(told(awaited(std::move(running))), u"error: Command timed out after 1s"_s);
    }

    void softResets()
    {
        m_desk.data.clear();
        m_desk.link->softReset();
        QTRY_VERIFY2(m_desk.data.contains("soft reboot"), m_desk.data.constData());
        QTRY_VERIFY(m_desk.data.endsWith(">>> "));
        QCOMPARE(run(u"print('x' in globals())"_s), u"False\n|"_s);
    }
};

QTEST_GUILESS_MAIN(tst_DeviceLinkOnBoard)
#include "tst_DeviceLinkOnBoard.moc"
