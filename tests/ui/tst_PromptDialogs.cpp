#include "ui/dialogs/PromptDialogs.h"
#include "ui/dialogs/QuestionDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

QCoro::Task<void> keep(QCoro::Task<UserPrompts::ConfirmationAnswer> asking, QStringList &log)
{
    const auto answer = co_await std::move(asking);
    log << (answer.confirmed ? u"confirmed"_s : u"cancelled"_s)
            + (answer.dontAskAgain ? u" for good"_s : QString());
}

QCoro::Task<void> keep(QCoro::Task<QString> asking, QStringList &log)
{
    const QString answer = co_await std::move(asking);
    log << u'<' + answer + u'>';
}

void press(QWidget *where, int key)
{
    QTest::keyClick(where->windowHandle(), static_cast<Qt::Key>(key));
}

} // namespace

/// A person who answers dialogs with keys.
class tst_PromptDialogs final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<PromptDialogs> m_prompts;
    QStringList m_log;

    void askToDelete(const QString &path)
    {
        keep(m_prompts->confirm({u"Delete <b>?"_s, u"Removes <i>&."_s, u"Delete"_s, path}), m_log);
    }
    void askName()
    {
        keep(m_prompts->askName(
                 {u"New Folder"_s, u"Create a folder in ~."_s, u"untitled folder"_s, u"Create"_s}),
             m_log);
    }
    /// The one that opens, when it can be typed to.
    template <typename Dialog> Dialog *opened() const
    {
        const auto isReady = [this] {
            return QApplication::activeWindow() && QApplication::activeWindow() != m_window.get();
        };
        auto *dialog = QTest::qWaitFor(isReady)
            ? qobject_cast<Dialog *>(QApplication::activeWindow())
            : nullptr;
        if (!dialog)
            qFatal("no such dialog");
        return dialog;
    }
    static QString texts(const QDialog &dialog)
    {
        return dialog.findChild<QLabel *>(u"questionTitle"_s)->text() + u'|'
            + dialog.findChild<QLabel *>(u"questionMessage"_s)->text();
    }
    static QString defaultButtons(const QDialog &dialog)
    {
        QStringList titles;
        for (const auto *button : dialog.findChildren<QPushButton *>()) {
            if (button->isDefault())
                titles << button->text();
        }
        return titles.join(u' ');
    }

private slots:
    void init()
    {
        m_log.clear();
        m_window = std::make_unique<QMainWindow>();
        m_prompts = std::make_unique<PromptDialogs>();
        m_prompts->setWindow(m_window.get());
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }
    void cleanup()
    {
        m_window.reset();
        m_prompts.reset();
    }

    void confirmsOnlyWhatWasMeant_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("key"); // 0: the dialog is closed
        QTest::addColumn<QString>("answer");
        for (const QString &path : {u""_s, u"/R&D.py"_s}) {
            for (const int key : {0, int(Qt::Key_Escape), int(Qt::Key_Return), int(Qt::Key_Enter),
                                  int(Qt::Key_Space)})
                QTest::addRow("key %x %s", key, qPrintable(path)) << path << key << u"cancelled"_s;
        }
        QTest::newRow("Delete") << u""_s << int(Qt::Key_Space) << u"confirmed"_s;
        QTest::newRow("ticked") << u"/R&D.py"_s << int(Qt::Key_Space) << u"confirmed for good"_s;
    }
    void confirmsOnlyWhatWasMeant()
    {
        QFETCH(QString, path);
        QFETCH(int, key);
        QFETCH(QString, answer);
        askToDelete(path);
        auto *box = opened<QuestionDialog>();
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        QCOMPARE(texts(*box), u"Delete <b>?|Removes <i>&."_s);
        QCOMPARE(defaultButtons(*box), u"Cancel"_s);
        const auto focused = [box] {
            const auto *focus = qobject_cast<QPushButton *>(box->focusWidget());
            return focus ? focus->text() : QString();
        };
        QCOMPARE(focused(), u"Cancel"_s);
        auto *option = box->findChild<QCheckBox *>();
        QCOMPARE(option ? option->text() : QString(),
                 path.isEmpty() ? QString() : u"Don't ask again for /R&&D.py"_s);
        if (answer.endsWith(u"for good"))
            QTest::mouseClick(option, Qt::LeftButton, {}, QPoint(8, 8));
        const QString button = answer == u"cancelled" ? u"Cancel"_s : u"Delete"_s;
        for (int i = 0; i < 5 && focused() != button; ++i)
            press(box, Qt::Key_Tab);
        QCOMPARE(focused(), button);
        if (key == 0)
            box->close();
        else
            press(box, key);
        QTRY_COMPARE(m_log, QStringList{answer});
        QTRY_VERIFY(m_window->findChildren<QDialog *>().isEmpty());
    }

    void fitsOnTheScreenWhateverTheNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("line ends") << QString(500, u'\n');
        QTest::newRow("one long word") << QString(4'000, u'x');
        QTest::newRow("markup") << u"<h1>a</h1>"_s.repeated(400);
    }
    void fitsOnTheScreenWhateverTheNames()
    {
        QFETCH(QString, name);
        keep(m_prompts->confirm({name, u"Removes "_s + name, u"Delete"_s, name}), m_log);
        auto *box = opened<QuestionDialog>();
        QVERIFY(!texts(*box).contains(u'\n'));
        const QRect screen = box->screen()->availableGeometry();
        QVERIFY(screen.contains(box->geometry()));
        for (const auto *button : box->findChildren<QPushButton *>())
            QVERIFY(box->rect().contains(QRect(button->mapTo(box, QPoint()), button->size())));
        box->close();
        keep(m_prompts->askName({u"New Folder"_s, name, name, u"Create"_s}), m_log);
        QTRY_VERIFY(opened<QDialog>() != box);
        QVERIFY(screen.size().width() >= opened<QDialog>()->width());
    }

    void asksForNames_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("answer");
        QTest::newRow("as proposed") << QString() << int(Qt::Key_Return) << u"<untitled folder>"_s;
        QTest::newRow("typed over") << u" a b  "_s << int(Qt::Key_Enter) << u"<a b>"_s;
        QTest::newRow("blanks alone") << u"   "_s << int(Qt::Key_Return) << u"<>"_s;
        QTest::newRow("cancelled") << u"lib"_s << int(Qt::Key_Escape) << u"<>"_s;
    }
    void asksForNames()
    {
        QFETCH(QString, typed);
        QFETCH(int, key);
        askName();
        auto *prompt = opened<QDialog>();
        QCOMPARE(prompt->windowTitle(), u"New Folder"_s);
        auto *field = prompt->findChild<QLineEdit *>();
        QVERIFY(field->hasFocus());
        QCOMPARE(field->placeholderText(), u"untitled folder"_s);
        QVERIFY(field->width() >= 260 && field->height() >= 24);
        QCOMPARE(prompt->findChild<QLabel *>()->text(), u"Create a folder in ~."_s);
        QCOMPARE(defaultButtons(*prompt), u"Create"_s);
        QTest::keyClicks(field, typed);
        press(prompt, key);
        QTRY_COMPARE(m_log.size(), 1);
        QTEST(m_log.constFirst(), "answer");
    }

    void asksForPaths()
    {
        QTemporaryDir folder;
        keep(m_prompts->askSavePath(folder.path(), u"a.py"_s), m_log);
        auto *save = opened<QFileDialog>();
        QCOMPARE(save->findChild<QLineEdit *>()->text(), u"a.py"_s);
        press(save, Qt::Key_Return);
        QTRY_COMPARE(m_log.join(u' '), u'<' + folder.filePath(u"a.py"_s) + u'>');
        keep(m_prompts->askOpenPath(folder.path()), m_log);
        auto *open = opened<QFileDialog>();
        QCOMPARE(open->fileMode(), QFileDialog::ExistingFile);
        press(open, Qt::Key_Escape);
        QTRY_COMPARE(m_log.last(), u"<>"_s);
    }

    void endsWithEveryQuestionOpen_data()
    {
        QTest::addColumn<bool>("isAnswered");
        QTest::addColumn<bool>("isWindowFirst");
        QTest::newRow("open") << false << false;
        QTest::newRow("open, the window first") << false << true;
        QTest::newRow("just answered") << true << false;
        QTest::newRow("just answered, the window first") << true << true;
    }
    void endsWithEveryQuestionOpen()
    {
        QFETCH(bool, isAnswered);
        QFETCH(bool, isWindowFirst);
        const std::function<void()> asking[] = {
            [this] { askToDelete(u"/x"_s); }, [this] { askName(); },
            [this] { keep(m_prompts->askOpenPath(u"/"_s), m_log); }};
        QStringList answers;
        for (const auto &ask : asking) {
            init();
            ask();
            auto *dialog = opened<QDialog>();
            if (isAnswered)
                dialog->accept();
            if (isWindowFirst)
                m_window.reset();
            m_prompts.reset();
            m_window.reset();
            answers << m_log;
        }
        QCOMPARE(answers, (QStringList{u"cancelled"_s, u"<>"_s, u"<>"_s}));
    }

    void standsAloneWithoutAWindow()
    {
        m_prompts->setWindow(nullptr);
        keep(m_prompts->askSavePath(QDir::tempPath(), u"a.py"_s), m_log);
        QCOMPARE(m_log, QStringList{u"<>"_s}); // only ever over its window
        askName();
        auto *prompt = opened<QDialog>();
        QCOMPARE(prompt->windowModality(), Qt::ApplicationModal);
        press(prompt, Qt::Key_Escape);
        QTRY_COMPARE(m_log.size(), 2);
    }
};

QTEST_MAIN(tst_PromptDialogs)
#include "tst_PromptDialogs.moc"
