#include "app/FileSettings.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

constexpr QFile::Permissions ownerOnly =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;

/// A folder with a settings file in it.
struct Place
{
    explicit Place(const QByteArray &content, QFile::Permissions permissions = ownerOnly)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()
            || !file.setPermissions(permissions))
            qFatal("The test could not write its file.");
    }

    QTemporaryDir folder;
    QString path = folder.filePath(u"settings.ini"_s);
};

} // namespace

class tst_FileSettings final : public QObject
{
    Q_OBJECT

private slots:
    void keepsItsFileToItsOwner()
    {
        const Place place("[General]\nMCPServerToken=secret\n", ownerOnly | QFile::ReadOther);
        FileSettings settings(place.path);
        QCOMPARE(settings.text(Settings::serverToken), u"secret"_s);
        QCOMPARE(QFile::permissions(place.path), ownerOnly);
        QVERIFY(QFile::setPermissions(place.path, ownerOnly | QFile::ReadGroup));
        settings.setFlag(Settings::serverEnabled, true);
        QCOMPARE(QFile::permissions(place.path), ownerOnly);
        QVERIFY(QFile::remove(place.path));
        settings.setFlag(Settings::serverEnabled, false);
        QCOMPARE(QFile::permissions(place.path), ownerOnly);
        const QString fresh = place.folder.filePath(u"new/settings.ini"_s);
        FileSettings(fresh).setText(Settings::serverToken, u"secret"_s);
        QCOMPARE(QFile::permissions(fresh), ownerOnly);
    }

    void keepsValuesFromOneProgramToTheNext()
    {
        const Place place("");
        const QString odd = u" \"ä,=;%\n\\ "_s;
        {
            FileSettings first(place.path);
            QVERIFY(!first.flag(Settings::serverEnabled));
            QCOMPARE(first.number(Settings::serverPort), 0);
            QVERIFY(first.text(Settings::serverToken).isEmpty());
            first.setFlag(Settings::serverEnabled, true);
            first.setFlag(Settings::autoApproveWrites, true);
            first.setFlag(Settings::autoApproveWrites, false);
            first.setNumber(Settings::serverPort, 9000);
            first.setText(Settings::serverToken, odd);
            // Written at once: nobody has to wait for this program to end.
            QCOMPARE(FileSettings(place.path).text(Settings::serverToken), odd);
        }
        const FileSettings second(place.path);
        QVERIFY(second.flag(Settings::serverEnabled));
        QVERIFY(!second.flag(Settings::autoApproveWrites));
        QCOMPARE(second.number(Settings::serverPort), 9000);
        QCOMPARE(second.text(Settings::serverToken), odd);
    }

    void hearsWhatOthersWrite()
    {
        const Place place("[General]\nMCPAutoApproveWrites=true\n");
        const FileSettings settings(place.path);
        QVERIFY(settings.flag(Settings::autoApproveWrites));
        QFile file(place.path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[General]\nMCPAutoApproveWrites=false\n");
        file.close();
        QVERIFY(!settings.flag(Settings::autoApproveWrites));
    }

    void readsOnlyWhatItUnderstands_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("flag");
        QTest::addColumn<int>("number");
        QTest::newRow("true") << "true"_ba << true << 0;
        QTest::newRow("True") << "True"_ba << true << 0;
        QTest::newRow("a word") << "yes"_ba << false << 0;
        QTest::newRow("list") << "true, true"_ba << false << 0;
        QTest::newRow("number") << "70000"_ba << false << 70000;
        QTest::newRow("too large") << "99999999999"_ba << false << 0;
        QTest::newRow("fraction") << "1.5"_ba << false << 0;
        QTest::newRow("foreign type") << "@Variant(\\0\\0\\0\\xff)"_ba << false << 0;
    }

    void readsOnlyWhatItUnderstands()
    {
        QFETCH(QByteArray, value);
        const Place place("[General]\nMCPServerPort=" + value + "\n");
        const FileSettings settings(place.path);
        QTEST(settings.flag(Settings::serverPort), "flag");
        QTEST(settings.number(Settings::serverPort), "number");
    }

    void survivesABrokenFile()
    {
        const Place place(
            QByteArrayLiteral("[General\nMCPServerPort\0=\xff\xfe%U%%\n]]=@Variant(\n"));
        {
            FileSettings settings(place.path);
            QVERIFY(!settings.flag(Settings::serverEnabled));
            settings.setFlag(Settings::serverEnabled, true);
        }
        QVERIFY(FileSettings(place.path).flag(Settings::serverEnabled));
        QCOMPARE(QFile::permissions(place.path), ownerOnly);
    }

    void worksWithoutAPlaceForItsFile()
    {
        const QTemporaryDir folder;
        FileSettings settings(folder.path()); // a folder stands where the file should
        settings.setText(Settings::serverToken, u"kept"_s);
        QCOMPARE(settings.text(Settings::serverToken), u"kept"_s);
        QVERIFY(QFileInfo(folder.path()).isDir());
    }
};

QTEST_GUILESS_MAIN(tst_FileSettings)
#include "tst_FileSettings.moc"
