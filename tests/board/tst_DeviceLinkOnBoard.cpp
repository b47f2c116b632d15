#include "board/LinkFixture.h"

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
    LinkFixture m_fixture;

    QString run(const QString &code, std::chrono::seconds timeout = 60s)
    {
        return told(awaited(m_fixture.link->executeOnDeviceRaw(code, timeout)));
    }

private slots:
    void initTestCase()
    {
        QVERIFY2(m_board.start(), qPrintable(m_board.errorText()));
        QVERIFY(m_fixture.connectTo(m_board.port()));
    }

    void runsPrograms()
    {
        QCOMPARE(
            run(u"print('OK >>> > Grüße, 世界 😀')\nundefined"_s),
            u"OK >>> > Grüße, 世界 😀\n|Traceback (most recent call last):\n"
            "  File \"<stdin>\", line 2, in <module>\nNameError: name 'undefined' isn't defined\n"_s);
        QCOMPARE(run(u"x = '"_s + QString(60'000, u'x') + u"'\nprint(len(x))"_s), u"60000\n|"_s);
        const QString megabyte = run(u"for i in range(16384):\n    print('%063d' % i)"_s);
        QCOMPARE(megabyte.size(), qsizetype(1024 * 1024 + 1));
        QVERIFY(megabyte.endsWith(u"00016383\n|"));
        QVERIFY(m_fixture.isAtRest());
    }

    void endsAnEndlessLoopByTheTimeOut()
    {
        QCOMPARE(run(u"while True:\n    pass"_s, 1s),
                 u"error: Command timed out after 1s — its program was stopped"_s);
        QCOMPARE(run(u"print(1)"_s), u"1\n|"_s);
    }

    void softResets()
    {
        m_fixture.data.clear();
        QVERIFY(awaited(m_fixture.link->softReset()));
        QTRY_VERIFY2(m_fixture.data.contains("soft reboot"), m_fixture.data.constData());
        QTRY_VERIFY(m_fixture.data.endsWith(">>> "));
        QCOMPARE(run(u"print('x' in globals())"_s), u"False\n|"_s);
    }
};

QTEST_GUILESS_MAIN(tst_DeviceLinkOnBoard)
#include "tst_DeviceLinkOnBoard.moc"
