#include "app/Settings.h"
#include "editor/CodeEditorView.h"
#include "mcp/MCPServer.h"
#include "theme/Theme.h"
#include "ui/WindowFixture.h"
#include "ui/window/Translations.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QToolButton>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

struct DialogFixture : WindowFixture
{
    explicit DialogFixture(Python python = Python::None)
        : WindowFixture(python)
    {
        if (window().findChild<QDialog *>(u"preferences"_s))
            qFatal("the dialog exists before it is opened");
        press(Qt::Key_Comma, Qt::ControlModifier);
        dialog = find<QDialog>("preferences");
    }

    /// The control with the accessible name \p title.
    template <typename T> T *control(const QString &title)
    {
        for (T *found : dialog->findChildren<T *>()) {
            if (found->accessibleName() == title)
                return found;
        }
        qFatal("no control %s", qPrintable(title));
    }
    void choose(const QString &title, const QString &item)
    {
        auto *box = control<QComboBox>(title);
        box->setCurrentIndex(box->findText(item));
        emit box->activated(box->currentIndex());
    }
    Preferences &preferences() { return state().preferences(); }

    QDialog *dialog;
};

} // namespace

class tst_PreferencesDialog final : public QObject
{
    Q_OBJECT

private slots:
    void appliesAndResetsAtOnce()
    {
        DialogFixture fixture;
        auto *editor = fixture.find<CodeEditorView>("editor");
        fixture.control<QSpinBox>(u"Editor font size"_s)->setValue(20);
        fixture.control<QSpinBox>(u"Indent width"_s)->setValue(2);
        fixture.control<QSpinBox>(u"Shell font size"_s)->setValue(30);
        fixture.choose(u"Appearance"_s, u"Dark"_s);
        QCOMPARE(editor->font().pixelSize(), 20);
        QCOMPARE(fixture.find<QPlainTextEdit>("shellOutput")->document()->defaultFont().pixelSize(),
                 30);
        QCOMPARE(QApplication::palette(), Theme::dark().palette());
        QTest::keyClick(editor, Qt::Key_Tab);
        QCOMPARE(editor->text(), u"  "_s);
        QCOMPARE(fixture.settings.number(u"EditorFontSize"_s), 20);

        for (const char *key : {"EditorFontSize", "Appearance", "ShellFontSize"}) {
            auto *reset = fixture.find<QToolButton>(QByteArray("reset") + key);
            QVERIFY(reset->isEnabled() && reset->toolTip() == u"Return to the default");
            reset->click();
            QVERIFY(!reset->isEnabled());
        }
        QCOMPARE(editor->font().pixelSize(), 13);
        QCOMPARE(fixture.find<QPlainTextEdit>("shellOutput")->font(), Theme::monospacedFont());
        QCOMPARE(QApplication::palette(), Theme::light().palette());
    }

    void findsPreferencesByTheirWords()
    {
        DialogFixture fixture;
        auto *search = fixture.find<QLineEdit>("preferenceSearch");
        const auto *port = fixture.control<QSpinBox>(u"Server port"_s);
        const auto *size = fixture.control<QSpinBox>(u"Editor font size"_s);
        search->setText(u"assistant PORT"_s);
        QVERIFY(port->isVisible() && !size->isVisible());
        search->setText(u"nowhere"_s);
        QVERIFY(!port->isVisible() && !size->isVisible());
        search->clear();
        QVERIFY(port->isVisible() && size->isVisible());
        QCOMPARE(fixture.find<QWidget>("newToken")->x(), port->x()); // in one column
        const auto *fonts = fixture.control<QComboBox>(u"Editor font"_s);
        for (int i = 1; i < fonts->count(); ++i)
            QVERIFY2(QFontDatabase::isFixedPitch(fonts->itemText(i)),
                     qPrintable(fonts->itemText(i)));
        for (int id = 0; id < Preferences::idCount; ++id)
            fixture.find<QToolButton>(QByteArray("reset")
                                      + Preferences::definition(Preferences::Id(id)).key.data());
    }

    void restartsTheSessionWithTheChosenInterpreter()
    {
        DialogFixture fixture(WindowFixture::Python::Real);
        QVERIFY(QDir().mkpath(fixture.folder.filePath(u"env/bin"_s)));
        const QString link = fixture.folder.filePath(u"env/bin/python"_s);
        QVERIFY(QFile::link(u"/usr/bin/python3"_s, link));
        auto *field = fixture.find<QComboBox>("interpreter");
        const auto enter = [field](const QString &path) {
            field->setEditText(path);
            emit field->lineEdit()->editingFinished();
        };
        QTRY_VERIFY(field->count() > 0 && field->currentText().isEmpty());
        auto *problem = fixture.find<QLabel>("interpreterProblem");
        for (const QString &other : {fixture.folder.path(), u"/bin/true"_s}) {
            problem->hide();
            enter(other);
            QTRY_VERIFY(problem->isVisible());
        }
        QVERIFY(fixture.preferences().isDefault(Preferences::Interpreter));
        enter(fixture.folder.filePath(u"env"_s));
        QTRY_COMPARE(fixture.state().runner().findPython(), link);
        QCOMPARE(fixture.lines(),
                 QStringList({u"info: Programs run in %1 from now on."_s.arg(link),
                              u"info: Session restarted."_s}));
        fixture.state().submitShell(u"import sys; print(sys.executable)"_s);
        QTRY_VERIFY(fixture.lines().contains(u"output: "_s + link + u'\n'));
        QVERIFY(QFile::remove(link));
        fixture.state().submitShell(u"1"_s);
        QTRY_VERIFY(fixture.lines().constLast().startsWith(u"error: No Python at"_s));
    }

    void movesTheServerAndRenewsItsToken()
    {
        DialogFixture fixture;
        MCPServer &server = fixture.app->server();
        fixture.control<QSpinBox>(u"Server port"_s)->setValue(18787);
        QCOMPARE(server.port(), 18787);
        const QString token = server.token();
        fixture.click("newToken");
        QTRY_VERIFY(server.token() != token);
        QCOMPARE(fixture.settings.text(Settings::serverToken), server.token());
    }

    void listsTheLanguagesThatAreInstalled()
    {
        const QTemporaryDir folder;
        for (const char *name : {"korvane_de.qm", "korvane_pt_BR.qm", "other_fr.qm"})
            QVERIFY(QFile(folder.filePath(QLatin1StringView(name))).open(QIODevice::WriteOnly));
        QCOMPARE(Translations::available(folder.path()),
                 QStringList({u"en"_s, u"de"_s, u"pt_BR"_s}));
        QCOMPARE(Translations::available(folder.filePath(u"none"_s)), QStringList(u"en"_s));
    }
};

QTEST_MAIN(tst_PreferencesDialog)
#include "tst_PreferencesDialog.moc"
