#include "mcp/RPCReader.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

// JSON is written with ' for " here.
QByteArray json(QByteArray text)
{
    return text.replace('\'', '"');
}

bool isJSON(const QByteArray &text)
{
    return readMessages(text, [](const RPCMessage &) {}) != RPCBody::NotJSON;
}

/// All messages of \p body, one a line.
QByteArray read(const QByteArray &body)
{
    QStringList lines;
    (void)readMessages(json(body), [&](const RPCMessage &message) {
        QString line = message.method + u' ' + QString::fromUtf8(message.id) + u' '
            + message.toolName + u' ' + QString::fromUtf8(message.requestId) + u' '
            + message.protocolVersion.value_or(u"none"_s);
        for (const QString &name : {u"a"_s, u"b"_s}) {
            if (const auto text = message.arguments.text(name))
                line += u' ' + name + u"=\""_s + *text + u'"';
            if (const auto number = message.arguments.number(name))
                line += u' ' + name + u'=' + QString::number(*number, 'g', 17);
        }
        lines << line;
    });
    return lines.join(u'\n').toUtf8().replace('"', '\'');
}

} // namespace

class tst_RPCReader final : public QObject
{
    Q_OBJECT

private slots:
    void readsStrictJSON()
    {
        const QByteArray good =
            "{}|[]| [ ] |0|-0|1e5|1.50e-400|true|null|123456789012345678901234567890|"
            "\"\\u0000\"|\"\\ud83d\\uDE00\"|\"\x7f\"|\"ä€😀\"|\"\xef\xbb\xbf\"|{\"a\":1,\"a\":2}";
        const QByteArray bad =
            "{|[1,]|[1 2]|{\"a\":1,}|{a:1}|{} {}|01|+1|1.|.1|1e400|NaN|True|\"\\x\"|\"a\nb\"|"
            "\"\\ud83d\"|\"\\ude00\"|\"\xff\"|\"\xc0\xaf\"|\"\xed\xa0\x80\"|'a'|// a\n1|\xc2\xa0[]";
        QByteArrayList texts = good.split('|');
        const qsizetype goodCount = texts.size();
        texts += bad.split('|');
        texts += {QByteArray("[]\0", 3), QByteArray("\"\0\"", 3)};
        for (qsizetype i = 0; i < texts.size(); ++i)
            QVERIFY2(isJSON("[{\"a\":" + texts[i] + "}]") == (i < goodCount), texts[i]);
        for (const char *text : {"", " ", "12", "\"ping\"", "\xef\xbb\xbf{}", "{}\xef\xbb\xbf"})
            QVERIFY2(!isJSON(text), text);
        QVERIFY(!isJSON(QByteArray("{}\0", 3)));
        const QByteArray open = QByteArray(R"([{"a":)").repeated(200'000);
        QVERIFY(isJSON(open + '1' + QByteArray("}]").repeated(200'000)));
        QVERIFY(!isJSON(open));
    }

    void keepsIds()
    {
        for (const QByteArray &id :
             QByteArrayList{"0", "-9007199254740993", "18446744073709551616", "1.0", "-1E-400",
                            "0.1000000000000000055511151231257827", "''", "'ä😀'", "true", "null",
                            "[1,2.50,{}]", "{'b':1,'a':[],'':{'b':'[','c':[]}}",
                            QByteArray(100'000, '[') + QByteArray(100'000, ']')})
            QCOMPARE(read("{'id': " + id + " ,'method':'ping'}"), "ping " + id + "   none");
        QCOMPARE(read("{'id':'\\u00e4\\/', 'method':''}"), " 'ä/'   none");
        QCOMPARE(read("{'id':[ 1 , { 'a' : 2 } ]}"), " [1,{'a':2}]   none");
    }

    void readsMessages()
    {
        const auto check = [](const QByteArray &body, const QByteArray &messages) {
            QCOMPARE(read(body), messages);
        };
        check("[{'method':'a'},{},{'method':7,'id':1}]", "a    none\n    none\n 1   none");
        // Escaped names, members twice, members of the same name elsewhere.
        check("{'\\u0069d':1,'m\\u0065thod':'p\\u0069ng'}", "ping 1   none");
        check("{'id':2,'method':'x','id':1,'method':'y'}", "y 1   none");
        check("{'params':{'id':5,'method':'x'},'name':'n','id':1}", " 1   none");
        check("{'params':[{'name':'n'}],'x':{'params':{'name':'n'}}}", "    none");
        check("{'params':{'protocolVersion':'\\ufeffv','requestId':{'a':1}}}",
              "   {'a':1} \xef\xbb\xbfv");
        check("{'params':{'protocolVersion':'v','protocolVersion':2,'name':[]}}", "    none");
        check("{'params':{'name':'n','arguments':{'a':'1'}},'params':{'name':'m'}}", "  m  none");
        const auto checkArguments = [&](const QByteArray &arguments, const QByteArray &values) {
            check("{'params':{'name':'t','arguments':" + arguments + "}}", "  t  none" + values);
        };
        checkArguments("{'a':'x\\ny','b':0.25}", " a='x\ny' b=0.25");
        checkArguments("{'a':-12,'b':18446744073709551615}", " a=-12 b=1.8446744073709552e+19");
        checkArguments("{'a':'x','a':null,'b':{'a':'y'}}", "");
        checkArguments("['a','b']", "");
        checkArguments("{'a':1},'arguments':{'b':1}", " b=1");
    }
};

QTEST_GUILESS_MAIN(tst_RPCReader)
#include "tst_RPCReader.moc"
