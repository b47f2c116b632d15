#include "Desk.h"
#include "editor/CodeEditorView.h"
#include "support/Files.h"

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_EditorArea final : public QObject
{
    Q_OBJECT

private slots:
    void savesWhatWasThereAndTheKeysThatWereTyped_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("pairs, none at the end") << "\tа = 1\r\n  \r\nb"_ba;
        QTest::newRow("mixed") << "a\r\nb\nc\rd\xE2\x80\xA9"
                                  "e\r\n"_ba;
        QTest::newRow("mark") << "\xEF\xBB\xBF# a\n"_ba;
        QTest::newRow("control characters") << "a\0b\x01\x0C\x1E\x7F\xC2\x85\n\0\n"_ba;
        QTest::newRow("right to left") << u"# שלום\nx = 'عربي'\u200F\u202B\n"_s.toUtf8();
        QTest::newRow("combining, beyond 16 bits")
            << u"\u0301e\u0301\u0301\n🐍\uFEFF\uFFFC"_s.toUtf8();
        QTest::newRow("5 MB") << "total = total + 1  # again\r\n"_ba.repeated(180'000);
        QTest::newRow("one line of 1 MB") << "x = [1, 'a'] ; "_ba.repeated(70'000);
    }

    void savesWhatWasThereAndTheKeysThatWereTyped()
    {
        QFETCH(QByteArray, bytes);
        Desk desk;
        const QString path = desk.folder.filePath(u"odd.py"_s);
        put(path, bytes);
        const bool hasMark = bytes.startsWith("\xEF\xBB\xBF");
        const QByteArray typed = bytes.first(hasMark ? 3 : 0) + "if " + bytes.mid(hasMark ? 3 : 0);
        desk.state().documents().openFile(path);
        const auto isModified = [&] { return desk.state().documents().selectedFile()->isModified; };
        QTRY_COMPARE(desk.state().documents().selectedFile()->name, u"odd.py"_s);
        desk.find<QWidget>("editor")->setFocus();
        QVERIFY(!isModified());
        QTest::keyClicks(desk.find<QWidget>("editor"), u"if "_s);
        QVERIFY(isModified());
        desk.press(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(!isModified());
        QVERIFY(bytesOf(path) == typed);
        for (int key = 0; key < 3; ++key)
            desk.press(Qt::Key_Backspace);
        desk.press(Qt::Key_S, Qt::ControlModifier);
        QTRY_VERIFY(!isModified());
        QVERIFY(bytesOf(path) == bytes);
    }
};

QTEST_MAIN(tst_EditorArea)
#include "tst_EditorArea.moc"
