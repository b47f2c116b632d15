#include "document/EditorFile.h"
#include "document/PythonTextStorage.h"

#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_TextFormat final : public QObject
{
    Q_OBJECT

private slots:
    void givesBackWhatItTook()
    {
        const QList<std::pair<QString, QString>> cases{
            {u"\uFEFF"_s, u""_s},
            {u"a\r\nb"_s, u"a\nb"_s},
            {u"\uFEFF\uFEFFa\r\n"_s, u"\uFEFFa\n"_s},
            {u"a\rb\r"_s, u"a\nb\n"_s},
            {u"a\r\nb\nc\rd\r\r\n\n"_s, u"a\nb\nc\nd\n\n\n"_s},
            // What Qt takes for line ends, and what it does not.
            {u"a\u2029b\xFDD0"
             "c\xFDD1"
             "d\n"_s,
             u"a\nb\nc\nd\n"_s},
            {u"a\u2028b\u0085\f\0e\n"_s, u"a\u2028b\u0085\f\0e\n"_s},
        };
        for (const auto &[fileText, shown] : cases) {
            TextFormat format;
            QCOMPARE(format.detach(fileText), shown);
            QCOMPARE(format.attach(shown), fileText);
        }
    }

    void keepsTheLineEndsThatAnEditDidNotTouch()
    {
        const QList<QStringList> cases{
            // file, text after the edit, file when that is saved
            {u"a\r\nb\r\n"_s, u"a\nx\ny\nb\n"_s, u"a\r\nx\r\ny\r\nb\r\n"_s},
            {u"a\r\nb\r\nc\nd\n\r\n"_s, u"a\nb\nnew\nc\nd\n\n"_s, u"a\r\nb\r\nnew\r\nc\nd\n\r\n"_s},
            {u"a\r\nb\nc\r\nd\n"_s, u"a\nd\n"_s, u"a\r\nd\n"_s},
            {u"a\nb\r\nc\rd\r\n"_s, u"a\nbc\nd\n"_s, u"a\nbc\rd\r\n"_s}, // lines joined
            {u"a\nb\r\nc\r\n"_s, u"x\ny\n"_s, u"x\r\ny\r\n"_s},
        };
        for (const QStringList &row : cases) {
            EditorFile file(u"f.py"_s, {}, DocumentText::fromFile(row[0]));
            file.setContent(row[1]);
            QCOMPARE(file.text().fileText(), row[2]);
            file.storage().undo();
            QCOMPARE(file.text().fileText(), row[0]);
        }
    }
};

QTEST_GUILESS_MAIN(tst_TextFormat)
#include "tst_TextFormat.moc"
