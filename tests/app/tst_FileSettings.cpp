#include "app/FileSettings.h"
#include "support/Files.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

constexpr QFile::Permissions ownerOnly =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;

/// A folder with a settings file in it.
struct SettingsFixture
{
    explicit SettingsFixture(const QByteArray &content) { put(path, content); }

    QTemporaryDir folder;
    QString path = folder.filePath(u"settings.ini"_s);
};

} // namespace

class tst_FileSettings final : public QObject
{
    Q_OBJECT

private slots:
    void makesItsFilePrivate()
    {
        const SettingsFixture fixture("[General]\nMCPServerToken=secret\n");
        QVERIFY(QFile::setPermissions(fixture.path, ownerOnly | QFile::ReadOther));
        FileSettings settings(fixture.path);
        QCOMPARE(settings.text(Settings::serverToken), u"secret"_s);
        QCOMPARE(QFile::permissions(fixture.path), ownerOnly);
        QVERIFY(QFile::setPermissions(fixture.path, ownerOnly | QFile::ReadGroup));
        settings.setFlag(Settings::serverEnabled, true);
        QCOMPARE(QFile::permissions(fixture.path), ownerOnly);
        QVERIFY(QFile::remove(fixture.path));
        settings.setFlag(Settings::serverEnabled, false);
        QCOMPARE(QFile::permissions(fixture.path), ownerOnly);
        const QString fresh = fixture.folder.filePath(u"new/settings.ini"_s);
        FileSettings(fresh).setText(Settings::serverToken, u"secret"_s);
        QCOMPARE(QFile::permissions(fresh), ownerOnly);
    }

    void keepsValuesAndReadsChangesOfOthers()
    {
        const SettingsFixture fixture("");
        const QString odd = u" \"ä,=;%\n\\ "_s;
        FileSettings first(fixture.path);
        QVERIFY(!first.flag(Settings::serverEnabled));
        QCOMPARE(first.number(Settings::serverPort), 0);
        QVERIFY(first.text(Settings::serverToken).isEmpty());
        first.setFlag(Settings::serverEnabled, true);
        first.setNumber(Settings::serverPort, 9000);
        first.setText(Settings::serverToken, odd);
        // Written at once, not at the end of the program.
        const FileSettings second(fixture.path);
        QVERIFY(second.flag(Settings::serverEnabled));
        QCOMPARE(second.number(Settings::serverPort), 9000);
        QCOMPARE(second.text(Settings::serverToken), odd);
        put(fixture.path, "[General]\nMCPServerEnabled=false\n");
        QVERIFY(!first.flag(Settings::serverEnabled));
    }

    void reportsDamagedAndUnwritableFiles()
    {
        const SettingsFixture fixture(
            QByteArrayLiteral("[General\nMCPServerPort\0=\xff\xfe%U%%\n]]=@Variant(\n"));
        QStringList problems;
        const auto note = [&problems](const QString &text) { problems << text; };
        FileSettings broken(fixture.path);
        broken.setProblemHandler(note);
        QVERIFY(problems.takeFirst().contains(u"damaged"_s) && problems.isEmpty());
        broken.setFlag(Settings::serverEnabled, true);
        QVERIFY(FileSettings(fixture.path).flag(Settings::serverEnabled));
        FileSettings nowhere(fixture.folder.path()); // a folder
        nowhere.setProblemHandler(note);
        nowhere.setText(Settings::serverToken, u"kept"_s);
        nowhere.setText(Settings::serverToken, u"kept"_s);
        QCOMPARE(problems.filter(u"could not be written"_s).size(), 1);
        QCOMPARE(nowhere.text(Settings::serverToken), u"kept"_s);
    }
};

QTEST_GUILESS_MAIN(tst_FileSettings)
#include "tst_FileSettings.moc"
