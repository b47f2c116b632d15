#include "app/InputHistory.h"

#include "app/Preferences.h"
#include "support/Files.h"
#include "support/MemorySettings.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_InputHistory final : public QObject
{
    Q_OBJECT

private slots:
    void keepsWhatWasTyped()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"state/history"_s);
        MemorySettings settings;
        Preferences preferences(settings);
        {
            InputHistory history(path, preferences);
            for (const char16_t *entry : {u"print('é')", u"if x:\n  y", u"Print(2)"})
                history.add(QString::fromUtf16(entry));
            history.add(QString(InputHistory::maxLength + 1, u'x'));
        }
        QCOMPARE(QFile::permissions(path) & ~(QFile::ReadUser | QFile::WriteUser),
                 QFile::ReadOwner | QFile::WriteOwner);
        put(path, "damaged\n" + bytesOf(path) + "\"cut");
        InputHistory history(path, preferences);
        history.add(u"print('é')"_s);
        history.load();
        QTRY_COMPARE(history.entries().size(), 4);
        QCOMPARE(history.matching(u"PRINT"_s), QStringList({u"print('é')"_s, u"Print(2)"_s}));
        QCOMPARE(history.entries().at(1), u"if x:\n  y"_s);
        history.forget();
        QTRY_VERIFY(!QFile::exists(path));
        preferences.setFlag(Preferences::KeepShellHistory, false);
        {
            InputHistory unkept(path, preferences);
            unkept.add(u"a"_s);
        }
        QVERIFY(!QFile::exists(path));
    }

    void readsTheNewestOfMany()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"history"_s);
        QByteArray lines;
        for (int i = 0; i < 3 * InputHistory::maxEntries; ++i)
            lines += "\"" + QByteArray::number(i) + "\"\n";
        put(path, lines);
        MemorySettings settings;
        const Preferences preferences(settings);
        InputHistory history(path, preferences);
        history.load();
        QTRY_COMPARE(history.entries().size(), InputHistory::maxEntries);
        QCOMPARE(history.entries().constFirst(), u"2000"_s);
        QVERIFY(bytesOf(path).startsWith("\"2000\"\n") && bytesOf(path).endsWith("\"2999\"\n"));
    }
};

QTEST_GUILESS_MAIN(tst_InputHistory)
#include "tst_InputHistory.moc"
