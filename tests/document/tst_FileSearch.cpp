#include "document/FileSearch.h"
#include "support/Files.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_FileSearch final : public QObject
{
    Q_OBJECT

private slots:
    void searchesTextFilesOfAFolder()
    {
        const QTemporaryDir folder;
        for (const char *inner : {"lib", ".git", "__pycache__"})
            QVERIFY(QDir(folder.path()).mkdir(QString::fromLatin1(inner)));
        const auto path = [&](const QString &name) { return folder.filePath(name); };
        put(path(u"main.py"_s), "x = 1\r\n  spam = 'spam'\r\n");
        put(path(u"lib/deep.txt"_s), "é spam");
        put(path(u"edited.py"_s), "");
        for (const char *left : {".git/spam", "__pycache__/spam.pyc", ".hidden"})
            put(path(QString::fromLatin1(left)), "spam");
        put(path(u"binary"_s), QByteArray("spam\0", 5));
        put(path(u"latin1"_s), "spam \xe9");
        QVERIFY(QFile::link(folder.path(), path(u"lib/loop"_s)));

        FileSearch search;
        QStringList found;
        std::optional<FileSearch::Outcome> outcome;
        connect(&search, &FileSearch::found, this, [&](const QList<FileSearch::Hit> &hits) {
            for (const FileSearch::Hit &hit : hits)
                found << u"%1:%2:%3 %4"_s.arg(QDir(folder.path()).relativeFilePath(hit.path))
                             .arg(hit.line)
                             .arg(hit.column)
                             .arg(hit.text);
        });
        connect(&search, &FileSearch::finished, this,
                [&](const FileSearch::Outcome &end) { outcome = end; });
        search.start(folder.path(), {u"SPAM"_s, false, false, true},
                     {{path(u"edited.py"_s), u"\n spam"_s}});
        QTRY_VERIFY(outcome);
        QCOMPARE(found.join(u'|'),
                 u"edited.py:2:1  spam|main.py:2:2   spam = 'spam'|main.py:2:10   spam = 'spam'|"
                 u"lib/deep.txt:1:2 é spam"_s);
        QCOMPARE(outcome->files, 3);

        outcome.reset();
        connect(
            &search, &FileSearch::found, this,
            [&] {
                search.start(folder.path(), {u"(x"_s, false, false, true});
            },
            Qt::SingleShotConnection);
        search.start(folder.path(), {u"spam"_s}); // is replaced, without `finished`
        QTRY_VERIFY(outcome);
        QCOMPARE(outcome->error, u"Unmatched parenthesis (2)"_s);
        outcome.reset();
        search.start(u"/usr"_s, {u"\uE000 is nowhere"_s}); // takes more than its first step
        search.cancel();
        QTRY_VERIFY(outcome && outcome->isCanceled);
        QVERIFY(!search.isRunning());
    }
};

QTEST_GUILESS_MAIN(tst_FileSearch)
#include "tst_FileSearch.moc"
