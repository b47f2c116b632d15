#include "session/SessionProtocol.h"

#include <QCryptographicHash>
#include <QTest>

using namespace Korvane;

namespace {

QString shown(const RunResult &result)
{
    QStringList parts;
    for (const PythonVariable &variable : result.variables)
        parts << u"%1:%2=%3"_qs.arg(variable.name, variable.type, variable.value);
    return u"[%1] %2"_qs.arg(parts.join(u' '), result.error);
}

} // namespace

class tst_SessionProtocol final : public QObject
{
    Q_OBJECT

private slots:
    void carriesTheDriverByteForByte()
    {
        const QByteArray driver = SessionProtocol::driverProgram();
        QCOMPARE(driver.size(), 4301);
        QCOMPARE(driver.count('\n'), 118);
        QCOMPARE(QCryptographicHash::hash(driver, QCryptographicHash::Sha256).toHex(),
                 "a17825ae09e6836a624bf3a535d383b7546d84f0ca821654a609b1005b3c013a");
    }

    void writesOneLineForARequest()
    {
        using namespace SessionProtocol;
        QCOMPARE(execRequest(u"a\n\"é\u2028"_qs, u"/tmp/x y.py"_qs, false),
                 "{\"code\":\"a\\n\\\"é\u2028\",\"fresh\":false,\"op\":\"exec\",\"path\":\"/tmp/x "
                 "y.py\"}\n");
        QCOMPARE(execRequest(QString(), QString(), true),
                 "{\"code\":\"\",\"fresh\":true,\"op\":\"exec\",\"path\":\"<untitled>\"}\n");
        QCOMPARE(shellRequest(u"😀\r\x04"_qs), "{\"code\":\"😀\\r\\u0004\",\"op\":\"shell\"}\n");
        QCOMPARE(variablesRequest(), "{\"op\":\"vars\"}\n");
    }

    void refusesHalfASurrogatePair()
    {
        const QString half = u"a"_qs + QChar(0xD800);
        QVERIFY(!SessionProtocol::shellRequest(half));
        QVERIFY(!SessionProtocol::execRequest(half, QString(), true));
        QVERIFY(!SessionProtocol::execRequest(QString(), half, true));
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
        row("no JSON", "printed", unreadable);
        row("cut short", "{'vars': [{'name': 'x'", unreadable);
        row("doubled", "{'vars': []}{'vars': []}", unreadable);
        row("array", "[]", unreadable);
        row("ill-formed UTF-8", "{\"error\":\"\xFF\"}", unreadable);
        row("deep nesting", QByteArray(200'000, '['), unreadable);

        row("error alone", "{'error': 'E\\n'}", u"[] E\n"_qs);
        row("error that is no text", "{'error': 3, 'vars': []}", u"[] "_qs);
        row("rows in their order",
            "{'vars': "
            "[{'value':'1','type':'int','name':'z'},{'name':'a','type':'é','value':'\\u20ac'}]}",
            u"[z:int=1 a:é=€] "_qs);
        row("missing members", "{'vars': [{}, {'name':'a', 'more':''}]}", u"[?:?=? a:?=?] "_qs);
        row("a member that is no text",
            "{'vars': [{'name':'a'}, {'name':'b', 'more':1}], 'error':'E'}", u"[] E"_qs);
        row("a row that is no object", "{'vars': [{'name':'a'}, []]}", u"[] "_qs);
        row("no array", "{'vars': {'name':'a'}}", u"[] "_qs);

        row("whole surrogate pair", "{'error': '\\ud83d\\ude00'}", u"[] 😀"_qs);
        row("lone halves", "{'error': '\\ud83dx\\ude00\\uD83D\\ud83d\\ude00'}",
            u"[] \uFFFDx\uFFFD\uFFFD😀"_qs);
        row("half at the end", "{'error': '\\ud83d'}", u"[] \uFFFD"_qs);
        row("escaped backslashes", "{'error': '\\\\ud83d\\\\\\ud83d\\\\'}",
            u"[] \\ud83d\\\uFFFD\\"_qs);
        row("escape cut short", "{'error': '\\ud83", unreadable);
    }

    void readsAnyReply()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, result);
        QCOMPARE(shown(SessionProtocol::parseReply(body)), result);
    }
};

QTEST_GUILESS_MAIN(tst_SessionProtocol)
#include "tst_SessionProtocol.moc"
