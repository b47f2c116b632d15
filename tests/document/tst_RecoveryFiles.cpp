#include "document/OpenFiles.h"
#include "document/RecoveryFiles.h"
#include "support/Files.h"
#include "support/RecordingShell.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

/// One program after another, on the same disk.
struct Session
{
    explicit Session(const QString &folder)
        : copies(documents, shell, folder)
    {
        documents.newFile();
    }
    QString said() const { return shell.lines().join(u'\n'); }

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
    QStringList programs() const
    {
        return QDir(folder()).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }

private slots:
    void init() { m_disk = std::make_unique<QTemporaryDir>(); }

    void bringsBackWhatAnEndedProgramLeft()
    {
        const QString source = u"\uFEFFprint('ü')\r\nnul \0 end\nlast"_s;
        {
            Session first(folder());
            first.documents.openUnsaved(u"main.py"_s, DocumentPlace::local(u"/home/me/main.py"_s),
                                        source);
            first.documents.openUnsaved(u"boot.py"_s,
                                        DocumentPlace::onBoard(u"b1"_s, u"/boot.py"_s), u"x"_s);
            QTRY_COMPARE(copies().size(), 2);
            first.documents.updateSelectedContent(u"xyz"_s);
            QTRY_VERIFY(bytesOf(copies()[0]).contains("xyz")
                        || bytesOf(copies()[1]).contains("xyz"));
        }
        Session second(folder());
        QTRY_COMPARE(second.copies.leftovers().size(), 2);
        QVERIFY(second.said().contains(u"2 files with unsaved edits"_s));
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
        // It is looked after by its document now, and only once.
        QTRY_VERIFY(!programs().isEmpty() && QDir(folder()).entryList({u"*.json"_s}).isEmpty());
        QCOMPARE(copies().size(), 2);
    }

    void forgetsALeftoverThatIsSavedAtOnce()
    {
        {
            Session first(folder());
            first.documents.updateSelectedContent(u"mine"_s);
            QTRY_COMPARE(copies().size(), 1);
        }
        Session second(folder());
        QTRY_COMPARE(second.copies.leftovers().size(), 1);
        second.copies.open(second.copies.leftovers().constFirst());
        QTRY_COMPARE(second.documents.openFiles().size(), 2);
        // Before it has a copy of its own.
        EditorFile &file = *second.documents.selectedFile();
        file.moveTo(u"a.py"_s, DocumentPlace::local(u"/home/me/a.py"_s));
        file.setSavedText(file.text());
        QTRY_COMPARE(copies().size(), 0);
    }

    void keepsNothingThatIsSavedOrClosed()
    {
        Session session(folder());
        session.documents.updateSelectedContent(u"one"_s);
        session.documents.openTextInEditor(u"two.py"_s, u"two"_s); // unsaved without an edit
        QTRY_COMPARE(copies().size(), 2);
        QVERIFY(!(QFile::permissions(QFileInfo(copies().first()).path())
                  & (QFile::ReadGroup | QFile::ReadOther)));
        session.documents.closeFile(session.documents.selectedFileID());
        QTRY_COMPARE(copies().size(), 1);
        EditorFile &one = *session.documents.openFiles().constFirst();
        one.moveTo(u"one.py"_s, DocumentPlace::local(m_disk->filePath(u"one.py"_s)));
        one.setSavedText(one.text());
        QTRY_COMPARE(copies().size(), 0);
    }

    void leavesALivingProgramAlone()
    {
        Session first(folder());
        first.documents.updateSelectedContent(u"mine"_s);
        QTRY_COMPARE(copies().size(), 1);
        const QString copy = copies().constFirst();
        Session second(folder());
        second.documents.updateSelectedContent(u"another's"_s);
        QTRY_COMPARE(copies().size(), 2);
        QVERIFY(copies().contains(copy));
        QVERIFY(second.copies.leftovers().isEmpty() && second.said().isEmpty());
    }

    void bearsADamagedDisk()
    {
        const QString damaged = folder() + u"/a.json"_s;
        const QString vanishing = folder() + u"/b.json"_s;
        put(damaged, "{\"name\": \"x");
        put(vanishing, "{\"name\": \"b.py\", \"text\": \"b\"}");
        Session session(folder());
        QTRY_COMPARE(session.copies.leftovers().size(), 1);
        QVERIFY(QFile::exists(damaged)); // perhaps a person can read it
        QVERIFY(QFile::remove(vanishing));
        session.copies.open(session.copies.leftovers().constFirst());
        QTRY_VERIFY(session.said().contains(u"Cannot open b.py"_s));

        QVERIFY(QDir(folder()).removeRecursively());
        put(folder(), "in the way");
        session.documents.updateSelectedContent(u"1"_s);
        QTRY_VERIFY(session.said().contains(u"can’t be kept safe in "_s + folder()));
        QVERIFY(QFile::remove(folder()));
        session.documents.updateSelectedContent(u"3"_s);
        QTRY_COMPARE(copies().size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_RecoveryFiles)
#include "tst_RecoveryFiles.moc"
