#include "document/OpenFiles.h"
#include "support/Files.h"
#include "support/RecordingShell.h"
#include "support/ScriptedPrompts.h"
#include "ui/window/RecoveryFilesMenu.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

class tst_RecoveryFilesMenu final : public QObject
{
    Q_OBJECT

private slots:
    void numbersEqualLeftoversAndDiscardsAfterAQuestion()
    {
        QTemporaryDir folder;
        const QDateTime time = QDateTime::fromSecsSinceEpoch(1'000'000'000);
        const QStringList places{u"/a/x.py"_s, u"/b/x.py"_s, u"/b/x.py"_s};
        for (const QString &place : places) {
            QFile file(folder.filePath(u"%1.json"_s.arg(QUuid::createUuid().toString())));
            put(file.fileName(), u"{\"name\": \"x.py\", \"path\": \"%1\"}"_s.arg(place).toUtf8());
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(time, QFileDevice::FileModificationTime));
        }
        RecordingShell shell;
        ScriptedPrompts prompts;
        OpenFiles documents(shell);
        RecoveryFiles recovery(documents, shell, folder.path());
        QMenu view;
        const RecoveryFilesMenu menu(recovery, prompts, view);
        QVERIFY(!menu.menuAction()->isVisible());
        QTRY_COMPARE(recovery.leftovers().size(), 3);
        QVERIFY(menu.menuAction()->isVisible());
        const auto texts = [&menu] {
            QStringList shown;
            for (const QAction *action : menu.actions().first(3))
                shown << action->text();
            shown.sort();
            return shown;
        };
        const QString prefix =
            u"x.py — edited %1 — "_s.arg(QLocale().toString(time, QLocale::ShortFormat));
        QCOMPARE(
            texts(),
            (QStringList{prefix + u"/a/x.py"_s, prefix + u"/b/x.py"_s, prefix + u"/b/x.py (2)"_s}));

        const auto discardMenu = menu.actions().last()->menu();
        prompts.confirmation.confirmed = false;
        discardMenu->actions().first()->trigger();
        QCOMPARE(recovery.leftovers().size(), 3);
        prompts.confirmation.confirmed = true;
        discardMenu->actions().first()->trigger();
        QTRY_COMPARE(recovery.leftovers().size(), 2);
        discardMenu->actions().last()->trigger();
        QTRY_VERIFY(!menu.menuAction()->isVisible());
        QTRY_VERIFY(QDir(folder.path()).isEmpty());
        QVERIFY(prompts.asked.last().startsWith(u"Discard the unsaved edits of 2 files? | "));
    }
};

QTEST_MAIN(tst_RecoveryFilesMenu)
#include "tst_RecoveryFilesMenu.moc"
