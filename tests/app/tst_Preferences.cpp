#include "app/FileSettings.h"
#include "app/Preferences.h"
#include "support/Files.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;
using P = Preferences;

class tst_Preferences final : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatFitsAndTheDefaultOtherwise_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<int>("id");
        QTest::addColumn<QVariant>("value");
        const auto row = [](const char *stored, P::Id id, const QVariant &value) {
            QTest::newRow(stored) << QByteArray(stored) << int(id) << value;
        };
        row("", P::IndentWidth, 4);
        row("IndentWidth=2", P::IndentWidth, 2);
        row("IndentWidth=9", P::IndentWidth, 4);
        row("IndentWidth=two", P::IndentWidth, 4);
        row("MCPServerPort=65536", P::ServerPort, 8787);
        row("MCPServerPort=99999999999", P::ServerPort, 8787);
        row("LineLengthMark=0", P::LineLengthMark, 0); // outside of the range, but the default
        row("LineLengthMark=3", P::LineLengthMark, 0);
        row("Appearance=dark", P::Appearance, u"dark"_s);
        row("Appearance=Dark", P::Appearance, u"system"_s);
        row("Appearance=system light", P::Appearance, u"system"_s);
        row("Appearance=", P::Appearance, u"system"_s);
        row("ShowReplMessages=False", P::ShowReplMessages, false);
        row("ShowReplMessages=maybe", P::ShowReplMessages, true);
        row("MCPAutoApproveWrites=TRUE", P::WriteWithoutAsking, true);
        row("MCPAutoApproveWrites=1", P::WriteWithoutAsking, false);
    }

    void readsWhatFitsAndTheDefaultOtherwise()
    {
        QFETCH(QByteArray, stored);
        QFETCH(int, id);
        QFETCH(QVariant, value);
        // QSettings does not read a file of the same name, size and time again.
        const QString path = m_folder.filePath(QString::number(qHash(stored)));
        put(path, "[General]\n" + stored + '\n');
        FileSettings settings(path);
        const P preferences(settings);
        const auto which = static_cast<P::Id>(id);
        switch (P::definition(which).kind) {
        case P::Kind::Flag:
            QCOMPARE(preferences.flag(which), value.toBool());
            break;
        case P::Kind::Number:
            QCOMPARE(preferences.number(which), value.toInt());
            break;
        default:
            QCOMPARE(preferences.text(which), value.toString());
        }
    }

    void storesAndResetsAmongOtherKeys()
    {
        put(m_path, "[General]\nOther=1\n[BaudRate]\ndev\\ttyS7=12\n");
        FileSettings settings(m_path);
        P preferences(settings);
        int width = 0;
        preferences.follow(P::IndentWidth, this,
                           [&] { width = preferences.number(P::IndentWidth); });
        const QSignalSpy changed(&preferences, &P::changed);
        preferences.setNumber(P::IndentWidth, 8);
        preferences.setNumber(P::IndentWidth, 8);
        preferences.setNumber(P::IndentWidth, 9);
        preferences.setText(P::Appearance, u"blue"_s);
        QCOMPARE(width, 8);
        preferences.reset(P::IndentWidth);
        preferences.reset(P::Appearance);
        QCOMPARE(width, 4);
        QCOMPARE(changed.size(), 2);
        QVERIFY(preferences.isDefault(P::IndentWidth));

        QCOMPARE(preferences.baudRate(u"/dev/ttyS7"_s), 115200);
        preferences.setBaudRate(u"/dev/ttyS7"_s, 9600);
        preferences.setBaudRate(u"/dev/ttyS8"_s, 9601);
        QCOMPARE(P(settings).baudRate(u"/dev/ttyS7"_s), 9600);
        preferences.setBaudRate(u"/dev/ttyS7"_s, 115200);
        QCOMPARE(bytesOf(m_path).simplified(), QByteArray("[General] Other=1"));
    }

private:
    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(u"settings.ini"_s);
};

QTEST_GUILESS_MAIN(tst_Preferences)
#include "tst_Preferences.moc"
