#include "document/OpenFiles.h"
#include "document/RecoveryFiles.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/RecordingShell.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// One run of the program; several use the same folder.
struct RecoveryFixture
{
    explicit RecoveryFixture(const QString &folder)
        : copies(documents, shell, folder)
    {
        documents.newFile();
    }
    QString log() const { return shell.lines().join(u'\n'); }

    RecordingShell shell;
    OpenFiles documents{shell};
    RecoveryFiles copies;
};

} // namespace

class tst_RecoveryFiles final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_disk;

    QString folder() const { return m_disk->filePath(u"state/unsaved"_s); }
    QStringList copies() const
    {
        QStringList files;
        QDirIterator all(folder(), {u"*.json"_s}, QDir::Files, QDirIterator::Subdirectories);
        while (all.hasNext())
            files << all.next();
        return files;
    }
    /// The permissions of other users than the owner.
    static int othersAccess(const QString &path)
    {
        return static_cast<int>(QFile::permissions(path).toInt() & 0x0077);
    }
    QStringList programs() const
    {
        return QDir(folder()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

private slots:
    void init() { m_disk = std::make_unique<QTemporaryDir>(); }

    void restoresTextTypedRightBeforeTheEnd()
    {
        const QString source = u"\uFEFFprint('ü')\r\nnul \0 end\nlast"_s;
        {
            RecoveryFixture first(folder());
            first.documents.openUnsaved(u"main.py"_s, DocumentPlace::local(u"/home/me/main.py"_s),
                                        source);
            first.documents.openUnsaved(u"boot.py"_s,
                                        DocumentPlace::onBoard(u"b1"_s, u"/boot.py"_s), u"x"_s);
            first.documents.updateSelectedContent(u"xyz"_s);
        }
        QCOMPARE(copies().size(), 2);
        RecoveryFixture second(folder());
        QTRY_VERIFY(second.log().contains(u"2 files with unsaved edits"_s));
        QCOMPARE(programs(), QStringList());
        const auto leftovers = second.copies.leftovers();
        for (const RecoveryFiles::Leftover &leftover : leftovers)
            second.copies.open(leftover);
        QTRY_COMPARE(second.documents.openFiles().size(), 3);
        QVERIFY(second.copies.leftovers().isEmpty());
        for (const EditorFile *file : second.documents.openFiles().mid(1)) {
            const bool isMain = file->name() == u"main.py";
            QVERIFY(file->isModified());
            QCOMPARE(file->text().fileText(), isMain ? source : u"xyz"_s);
            QCOMPARE(file->place().board + file->place().path,
                     isMain ? u"/home/me/main.py"_s : u"b1/boot.py"_s);
        }
        // The leftovers are replaced by the recovery files of the documents.
        awaited(second.copies.flush());
        QVERIFY(!programs().isEmpty() && QDir(folder()).entryList({u"*.json"_s}).isEmpty());
        QCOMPARE(copies().size(), 2);
    }

    void comparesLeftoversWithTheirFiles()
    {
        const QString same = m_disk->filePath(u"same.py"_s);
        const QString other = m_disk->filePath(u"other.py"_s);
        {
            RecoveryFixture first(folder());
            first.documents.openUnsaved(u"same.py"_s, DocumentPlace::local(same), u"mine"_s);
            EditorFile &file =
                first.documents.open(u"other.py"_s, DocumentPlace::local(other), u"old"_s);
            file.setContent(u"mine"_s);
        }
        put(same, "mine");
        put(other, "theirs");
        {
            RecoveryFixture second(folder());
            QTRY_VERIFY(second.log().startsWith(u"info: A file with unsaved edits was left"_s));
            QCOMPARE(second.copies.leftovers().size(), 1);
            awaited(second.copies.open(second.copies.leftovers().constFirst()));
            const EditorFile *opened = second.documents.selectedFile();
            QVERIFY(opened->isModified() && opened->savedText());
            QCOMPARE(opened->savedText()->content, u"old"_s); // so that saving asks
        }
        RecoveryFixture third(folder());
        EditorFile &open = third.documents.open(
            u"other.py"_s, DocumentPlace::local(other).resolved(), u"theirs"_s);
        QTRY_COMPARE(third.copies.leftovers().size(), 1);
        awaited(third.copies.open(third.copies.leftovers().constFirst()));
        QCOMPARE(third.documents.openFiles().size(), 2);
        QCOMPARE(open.content(), u"mine"_s);
        QCOMPARE(open.savedText()->content, u"old"_s); // so that saving asks here, too
    }

    void keepsTheTextOfADeletedFile()
    {
        const DocumentPlace place = DocumentPlace::local(m_disk->filePath(u"gone.py"_s));
        {
            RecoveryFixture first(folder());
            first.documents.open(u"gone.py"_s, place, u"last"_s);
            first.documents.markDeleted(place);
        }
        RecoveryFixture second(folder());
        QTRY_COMPARE(second.copies.leftovers().size(), 1);
        awaited(second.copies.open(second.copies.leftovers().constFirst()));
        const EditorFile *opened = second.documents.selectedFile();
        QVERIFY(opened->isModified() && opened->content() == u"last");
    }

    void keepsTheLatestFiftyPrivateUntilTheyAreDiscarded()
    {
        for (int i = 0; i < 52; ++i) {
            const QString file = folder() + u"/ended/%1.json"_s.arg(i);
            put(file, "{\"name\": \"%1\", \"text\": \"x\"}");
            QFile touched(file);
            QVERIFY(touched.open(QIODevice::ReadWrite));
            QVERIFY(touched.setFileTime(QDateTime::fromSecsSinceEpoch(1'000'000'000 + i),
                                        QFileDevice::FileModificationTime));
            QVERIFY(touched.setPermissions(QFileDevice::Permissions(0x6666)));
        }
        QVERIFY(QFile::setPermissions(folder(), QFileDevice::Permissions(0x7777)));
        RecoveryFixture fixture(folder());
        QTRY_COMPARE(fixture.copies.leftovers().size(), 50);
        fixture.documents.updateSelectedContent(u"own"_s);
        awaited(fixture.copies.flush());
        QCOMPARE(copies().size(), 51);
        for (const QString &file : copies())
            QCOMPARE(othersAccess(file) + othersAccess(QFileInfo(file).path()), 0);
        QCOMPARE(othersAccess(folder()), 0);
        const QString latest = folder() + u"/51.json"_s;
        QCOMPARE(fixture.copies.leftovers().constFirst().file, latest);
        awaited(fixture.copies.discard({fixture.copies.leftovers().constFirst()}));
        QVERIFY(copies().size() == 50 && !QFile::exists(latest));
        awaited(fixture.copies.discard(fixture.copies.leftovers()));
        QVERIFY(copies().size() == 1 && fixture.copies.leftovers().isEmpty());
    }

    void removesTheFilesOfSavedAndClosedDocuments()
    {
        {
            RecoveryFixture first(folder());
            first.documents.updateSelectedContent(u"one"_s);
            first.documents.openTextInEditor(u"two.py"_s, u"two"_s); // unsaved without an edit
            awaited(first.copies.flush());
            QCOMPARE(copies().size(), 2);
            first.documents.closeFile(first.documents.selectedFileID());
        }
        QCOMPARE(copies().size(), 1);
        RecoveryFixture second(folder());
        second.documents.updateSelectedContent(u"closed"_s);
        second.documents.closeKeepingEdits(second.documents.selectedFileID());
        QTRY_VERIFY(second.log().startsWith(u"info: A file with unsaved edits was left"_s));
        QCOMPARE(second.copies.leftovers().size(), 2);
        awaited(second.copies.discard({second.copies.leftovers().constFirst()}));
        awaited(second.copies.open(second.copies.leftovers().constFirst()));
        EditorFile &file = *second.documents.selectedFile(); // without a file of its own yet
        file.moveTo(u"one.py"_s, DocumentPlace::local(m_disk->filePath(u"one.py"_s)));
        file.setSavedText(file.text());
        QTRY_COMPARE(copies().size(), 0);
    }

    void ignoresTheFilesOfARunningProgram()
    {
        RecoveryFixture first(folder());
        first.documents.updateSelectedContent(u"mine"_s);
        QTRY_COMPARE(copies().size(), 1);
        const QString copy = copies().constFirst();
        RecoveryFixture second(folder());
        second.documents.updateSelectedContent(u"another's"_s);
        QTRY_COMPARE(copies().size(), 2);
        QVERIFY(copies().contains(copy));
        QVERIFY(second.copies.leftovers().isEmpty() && second.log().isEmpty());
    }

    void reportsAFailingDisk()
    {
        const QString damaged = folder() + u"/a.json"_s;
        const QString vanishing = folder() + u"/b.json"_s;
        put(damaged, "{\"name\": \"x");
        put(vanishing, "{\"name\": \"b.py\", \"text\": \"b\"}");
        RecoveryFixture fixture(folder());
        QTRY_COMPARE(fixture.copies.leftovers().size(), 1);
        QVERIFY(QFile::exists(damaged)); // the user may be able to read it
        QVERIFY(QFile::remove(vanishing));
        fixture.copies.open(fixture.copies.leftovers().constFirst());
        QTRY_VERIFY(fixture.log().contains(u"Cannot open b.py"_s));

        QVERIFY(QDir(folder()).removeRecursively());
        put(folder(), "in the way");
        fixture.documents.updateSelectedContent(u"1"_s);
        QTRY_VERIFY(fixture.log().contains(u"can’t be kept safe in "_s + folder()));
        fixture.documents.closeKeepingEdits(fixture.documents.selectedFileID());
        QTRY_COMPARE(fixture.documents.selectedFile()->content(), u"1"_s); // open again
        QVERIFY(!fixture.copies.isKeeping() && fixture.copies.leftovers().isEmpty());
        QVERIFY(QFile::remove(folder()));
        fixture.documents.updateSelectedContent(u"3"_s);
        QTRY_COMPARE(copies().size(), 1);

        const QUuid other = fixture.documents.selectedFileID();
        fixture.documents.newFile();
        const QUuid id = fixture.documents.selectedFileID();
        const QString inTheWay = QFileInfo(copies().constFirst()).path() + u'/'
            + id.toString(QUuid::WithoutBraces) + u".json"_s;
        QVERIFY(QDir().mkdir(inTheWay));
        fixture.documents.updateSelectedContent(u"4"_s);
        QTRY_VERIFY(!fixture.copies.isKeeping());
        fixture.documents.select(other); // can be written
        fixture.documents.updateSelectedContent(u"5"_s);
        awaited(fixture.copies.flush());
        QVERIFY(!fixture.copies.isKeeping());
        QVERIFY(QDir().rmdir(inTheWay));
        awaited(fixture.copies.flush());
        QCOMPARE(copies().size(), 2);
    }
};

QTEST_GUILESS_MAIN(tst_RecoveryFiles)
#include "tst_RecoveryFiles.moc"
