#include "session/SessionProtocol.h"

#include <QTest>

using namespace Korvane;

class tst_SessionProtocol final : public QObject
{
    Q_OBJECT

private slots:
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

    void readsAnyReply()
    {
        const QString unreadable = u"[] Unreadable reply from the Python session"_qs;
        const QList<std::pair<QByteArray, QString>> cases{
            {"", unreadable},
            {"{'vars': []}{'vars': []}", unreadable},
            {"[]", unreadable},
            {"{\"error\":\"\xFF\"}", unreadable},
            {QByteArray(200'000, '['), unreadable},
            {"{'error': '\\ud83", unreadable},
            {"{'error': 'E\\n'}", u"[] E\n"_qs},
            {"{'error': 3, 'vars': []}", u"[] "_qs},
            {"{'vars': [{'value':'1','type':'int','name':'z'},{'name':'a','more':'\\u20ac'}]}",
             u"[z:int=1 a:?=?] "_qs},
            {"{'vars': [{'name':'a'}, {'name':'b', 'more':1}], 'error':'E'}", u"[] E"_qs},
            {"{'vars': [{'name':'a'}, []]}", u"[] "_qs},
            {"{'vars': {'name':'a'}}", u"[] "_qs},
            // Halves of surrogate pairs, and what looks like one.
            {"{'error': '\\ud83dx\\ude00\\uD83D\\ud83d\\ude00\\ud83d'}",
             u"[] \uFFFDx\uFFFD\uFFFD😀\uFFFD"_qs},
            {"{'error': '\\\\ud83d\\\\\\ud83d\\\\'}", u"[] \\ud83d\\\uFFFD\\"_qs},
        };
        for (const auto &[body, expected] : cases) {
            const RunResult result =
                SessionProtocol::parseReply(QByteArray(body).replace('\'', '"'));
            QStringList rows;
            for (const PythonVariable &variable : result.variables)
                rows << u"%1:%2=%3"_qs.arg(variable.name, variable.type, variable.value);
            QCOMPARE(u"[%1] %2"_qs.arg(rows.join(u' '), result.error), expected);
        }
    }
};

QTEST_GUILESS_MAIN(tst_SessionProtocol)
#include "tst_SessionProtocol.moc"
