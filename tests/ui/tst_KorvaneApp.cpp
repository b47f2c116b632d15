#include "ui/window/KorvaneApp.h"

#include "app/AppState.h"
#include "app/CommandLine.h"
#include "support/Awaited.h"
#include "support/Files.h"
#include "support/Home.h"
#include "ui/window/Actions.h"
#include "ui/window/ContentView.h"

#include <QAction>
#include <QFileDialog>
#include <QMenu>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

/// The program as main() creates it, with the user's folders in a temporary one.
class tst_KorvaneApp final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        useHome(m_home.path());
        KorvaneApp::setUp(*qApp);
    }

    void restoresTheWindowAndOffersUnsavedText()
    {
        {
            KorvaneApp program;
            program.show();
            for (const REPLLine &line : program.state().shell().replLines())
                QVERIFY(!line.text.contains(u"python3"_s)); // which is installed
            program.window().resize(900, 700);
            program.state().documents().updateSelectedContent(u"unsaved"_s);
            QTRY_VERIFY(QFile::exists(m_home.filePath(u"korvane/window.ini"_s)));
        }
        KorvaneApp program;
        program.show();
        QCOMPARE(program.window().size(), QSize(900, 700));
        put(m_home.filePath(u"a.py"_s), "1");
        CommandLine commandLine;
        commandLine.files << FileArgument{m_home.filePath(u"a.py"_s), 0};
        awaited(program.open(commandLine));
        QCOMPARE(program.state().documents().openFiles().size(), 1); // in place of the empty one
        auto *unsaved = program.window().findChild<QMenu *>(u"unsavedFiles"_s);
        QVERIFY(unsaved);
        QTRY_VERIFY(unsaved->menuAction()->isVisible());
        unsaved->actions().first()->trigger();
        QTRY_COMPARE(program.state().documents().selectedFile()->content(), u"unsaved"_s);

        // Save As asks with a dialog of the window, and saves there.
        program.window().commands()[Actions::SaveAs]->trigger();
        QTRY_VERIFY(program.window().findChild<QFileDialog *>());
        auto *dialog = program.window().findChild<QFileDialog *>();
        dialog->selectFile(m_home.filePath(u"saved.py"_s));
        QTRY_VERIFY(dialog->isEnabled());
        QMetaObject::invokeMethod(dialog, "accept");
        QTRY_COMPARE(bytesOf(m_home.filePath(u"saved.py"_s)), "unsaved"_ba);
    }

    void asksAboutEditsThatCannotBeKept()
    {
        const QString folder = m_home.filePath(u"korvane/unsaved"_s);
        QVERIFY(QDir(folder).removeRecursively());
        put(folder, "in the way");
        KorvaneApp program;
        program.show();
        program.state().documents().updateSelectedContent(u"typed right before the end"_s);
        program.window().close();
        QTRY_VERIFY(QApplication::activeModalWidget());
        QVERIFY(program.window().isVisible());
        QVERIFY(QFile::remove(folder));
    }

private:
    QTemporaryDir m_home;
};

QTEST_MAIN(tst_KorvaneApp)
#include "tst_KorvaneApp.moc"
