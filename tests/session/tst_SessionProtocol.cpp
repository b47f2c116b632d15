#include "session/SessionProtocol.h"

#include <QCryptographicHash>
#include <QTest>

using namespace Korvane;

class tst_SessionProtocol final : public QObject
{
    Q_OBJECT

private slots:
    void carriesTheDriverByteForByte()
    {
        QCOMPARE(
            QCryptographicHash::hash(SessionProtocol::driverProgram(), QCryptographicHash::Sha256)
                .toHex(),
            "a17825ae09e6836a624bf3a535d383b7546d84f0ca821654a609b1005b3c013a");
    }

    void writesOneLineForARequestThatUtf8CanCarry()
    {
        using namespace SessionProtocol;
        QCOMPARE(execRequest(u"a\n\"é\u2028😀\r\x04"_qs, u"/tmp/x y.py"_qs, false),
                 "{\"code\":\"a\\n\\\"é\u2028😀\\r\\u0004\",\"fresh\":false,\"op\":\"exec\","
                 "\"path\":\"/tmp/x y.py\"}\n");
        const QString half = u"a"_qs + QChar(0xD800);
        QVERIFY(!shellRequest(half));
        QVERIFY(!execRequest(half, QString(), true));
        QVERIFY(!execRequest(QString(), half, true));
    }

    void readsAnyReply_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("result");
        const auto row = [](const char *name, const QByteArray &body, const QString &result) {
            QTest::newRow(name) << QByteArray(body).replace('\'', '"') << result;
        };
        const QString unreadable = u"[] Unreadable reply from the Python session"_qs;
        row("nothing", "", unreadable);
        row("doubled", "{'vars': []}{'vars': []}", unreadable);
        row("array", "[]", unreadable);
        row("ill-formed UTF-8", "{\"error\":\"\xFF\"}", unreadable);
        row("deep nesting", QByteArray(200'000, '['), unreadable);
        row("escape cut short", "{'error': '\\ud83", unreadable);

        row("error alone", "{'error': 'E\\n'}", u"[] E\n"_qs);
        row("error that is no text", "{'error': 3, 'vars': []}", u"[] "_qs);
        row("rows in their order",
            "{'vars': [{'value':'1','type':'int','name':'z'},{'name':'a','more':'\\u20ac'}]}",
            u"[z:int=1 a:?=?] "_qs);
        row("a member that is no text",
            "{'vars': [{'name':'a'}, {'name':'b', 'more':1}], 'error':'E'}", u"[] E"_qs);
        row("a row that is no object", "{'vars': [{'name':'a'}, []]}", u"[] "_qs);
        row("no array", "{'vars': {'name':'a'}}", u"[] "_qs);

        row("halves of surrogate pairs", "{'error': '\\ud83dx\\ude00\\uD83D\\ud83d\\ude00\\ud83d'}",
            u"[] \uFFFDx\uFFFD\uFFFD😀\uFFFD"_qs);
        row("escaped backslashes", "{'error': '\\\\ud83d\\\\\\ud83d\\\\'}",
            u"[] \\ud83d\\\uFFFD\\"_qs);
    }

    void readsAnyReply()
    {
        QFETCH(QByteArray, body);
        const RunResult result = SessionProtocol::parseReply(body);
        QStringList rows;
        for (const PythonVariable &variable : result.variables)
            rows << u"%1:%2=%3"_qs.arg(variable.name, variable.type, variable.value);
        QTEST(u"[%1] %2"_qs.arg(rows.join(u' '), result.error), "result");
    }
};

QTEST_GUILESS_MAIN(tst_SessionProtocol)
#include "tst_SessionProtocol.moc"
