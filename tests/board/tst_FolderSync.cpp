#include "board/BoardFixture.h"
#include "board/CopyMessages.h"
#include "board/FolderSync.h"
#include "support/Files.h"
#include "support/VirtualBoard.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_FolderSync final : public QObject
{
    Q_OBJECT

private slots:
    void leavesOutWhatTheRulesName_data()
    {
        QTest::addColumn<QString>("rules");
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("isIgnored");
        const auto row = [](const char *name, const char *rules, const char *path, bool isIgnored) {
            QTest::newRow(name) << QString::fromUtf8(rules) << QString::fromUtf8(path) << isIgnored;
        };
        row("always", "", "a/__pycache__/x.pyc", true);
        row("a name at any level", "*.md", "docs/a.md", true);
        row("a star stays in a name", "/d*.md", "docs/a.md", false);
        row("a slash binds to the top", "/tests", "lib/tests", false);
        row("a path binds to the top", "lib/x.py", "a/lib/x.py", false);
        row("for folders only", "build/", "a/build", false);
        row("in such a folder", "build/", "a/build/x", true);
        row("any folders", "a/**/x?.py", "a/b/c/x1.py", true);
        row("no folder", "a/**/x?.py", "a/x1.py", true);
        row("an exception", "*.py\r\n!main.py\r\n", "lib/main.py", false);
        row("not an exception", "!main.py\n*.py", "main.py", true);
        row("a comment", "# main.py", "main.py", false);
        row("no expression", "a+b.[ch]", "aab.c", false);
        row("two UTF-16 units", "😀?.[c]", "a/😀😀.[c]", true);
    }
    void leavesOutWhatTheRulesName()
    {
        QFETCH(QString, rules);
        QFETCH(QString, path);
        IgnoreRules ignored;
        ignored.add(rules);
        QTEST(ignored.isIgnored(path, false), "isIgnored");
    }

    void reportsTheStateOfTheFileThatWasStopped()
    {
        const Error cause{ErrorCode::Canceled, u"Transfer canceled — /a on the board is old."_s};
        QCOMPARE(sendingStoppedAt(u"a"_s, 1, 3, cause).message,
                 u"Sending canceled at a (2 of 3); the files before it were sent. /a on the board "
                 "is old."_s);
    }

    void sendsWhatHasChanged()
    {
        VirtualBoard virtualBoard;
        QVERIFY2(virtualBoard.start(), qPrintable(virtualBoard.errorText()));
        BoardFixture board;
        QVERIFY(board.connectTo(virtualBoard.port()));
        FolderSync sync(*board.fixture.link, board.files, board.transfer, board.fixture);
        QTemporaryDir folder;
        const QString here = folder.path();
        put(here + u"/main.py"_s, "print(1)\n");
        put(here + u"/lib/a.py"_s, QByteArray(200'000, 'a'));
        put(here + u"/lib/b.py"_s, "b = 1\n");
        put(here + u"/env/pyvenv.cfg"_s, "");
        put(here + u"/env/bin/x.py"_s, "");
        put(here + u"/notes.md"_s, "");
        put(here + u"/.korvaneignore"_s, "*.md\n\xFF");
        QVERIFY(!board.done(sync.compare(here, u"/app"_s)));
        QVERIFY(board.takeLog().startsWith(u"error: Cannot read .korvaneignore: "));
        put(here + u"/.korvaneignore"_s, "*.md\n");
        const auto toText = [](const Result<FolderChanges> &changes) {
            if (!changes)
                return changes.error().message;
            QStringList lines{QString::number(changes->unchangedCount)};
            for (const FolderChanges::Entry &entry : changes->entries)
                lines << entry.relativePath + u"+~-"_s.at(static_cast<int>(entry.kind));
            return lines.join(u' ');
        };

        auto changes = awaited(sync.compare(here, u"/app"_s));
        QCOMPARE(toText(changes), u"0 lib/a.py+ lib/b.py+ main.py+"_s);
        QVERIFY(board.done(sync.send(*changes)));
        QCOMPARE(board.takeLog(), u"info: ↑ Sent 3 files to /app; 0 files unchanged."_s);

        QByteArray other(200'000, 'a');
        other[150'000] = 'b';
        put(here + u"/lib/a.py"_s, other);
        put(here + u"/main.py"_s, "print(2)\n");
        put(here + u"/new.py"_s, "");
        QVERIFY(board.write("x", u"/app/lib/old.py"_s, u"old.py"_s));
        QVERIFY(board.write("x", u"/app/notes.md"_s, u"notes.md"_s));
        changes = awaited(sync.compare(here, u"/app"_s));
        QCOMPARE(toText(changes), u"1 new.py+ lib/a.py~ main.py~ lib/old.py-"_s);
        QStringList statuses;
        const auto noting = connect(&board.transfer, &TransferStatus::statusChanged, this, [&] {
            statuses << board.transfer.status();
            if (statuses.last().contains(u'(') && board.transfer.canCancel())
                board.transfer.cancel(); // which emits the signal, too
        });
        QVERIFY(!board.done(sync.send(*changes)));
        // Deletes before it sends: a sent file may be the same one with another case.
        QCOMPARE(statuses.filter(u"("_s).value(0), u"Deleting lib/old.py (1 of 1)…"_s);
        QVERIFY(board.takeLog().startsWith(u"info: Deleting canceled at lib/old.py (1 of 1)"));
        disconnect(noting);
        board.fixture.link->disconnectDevice();
        QVERIFY(board.connectTo(virtualBoard.port()));
        QVERIFY(board.done(board.transfer.resumeRest()));
        QCOMPARE(board.takeLog(),
                 u"info: ↑ Sent 3 files to /app, removed 1 file; 1 file unchanged."_s);
        QCOMPARE(toText(awaited(sync.compare(here, u"/app"_s))), u"4"_s);
        QCOMPARE(awaited(sync.send(*changes)).error().code, ErrorCode::BoardReplaced);
    }
};

QTEST_GUILESS_MAIN(tst_FolderSync)
#include "tst_FolderSync.moc"
