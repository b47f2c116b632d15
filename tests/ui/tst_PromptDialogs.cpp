#include "base/OneShot.h"
#include "ui/dialogs/PromptDialogs.h"
#include "ui/dialogs/QuestionDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QFileDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <array>

using namespace Korvane;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Asker = UserPrompts::Asker;

namespace {

QCoro::Task<void> keep(QCoro::Task<UserPrompts::ConfirmationAnswer> asking, QStringList &log)
{
    const auto answer = co_await std::move(asking);
    log << (answer.confirmed ? u"confirmed"_s : u"canceled"_s)
            + (answer.dontAskAgain ? u" for good"_s : QString());
}

QCoro::Task<void> keep(QCoro::Task<QString> asking, QStringList &log)
{
    const QString answer = co_await std::move(asking);
    log << u'<' + answer + u'>';
}

QCoro::Task<std::optional<UserPrompts::Texts>> textsFor(QStringList state,
                                                        OneShot<bool> *readiness = nullptr)
{
    if (readiness)
        co_await readiness->wait();
    std::optional<UserPrompts::Texts> texts;
    if (!state.isEmpty())
        texts = UserPrompts::Texts{state.first(), QString(), u"Yes"_s};
    co_return texts;
}

void press(QWidget *where, int key)
{
    QTest::keyClick(where->windowHandle(), static_cast<Qt::Key>(key));
}

} // namespace

/// Dialogs that are answered with keys.
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
    /// Asks whether to write \p path, for the assistant or the user.
    void askToWrite(const QString &path, Asker asker, std::stop_token withdrawn = {},
                    const QString &confirmTitle = u"Write"_s)
    {
        UserPrompts::Confirmation question;
        question.title = path;
        question.confirmTitle = confirmTitle;
        question.asker = asker;
        question.withdrawn = std::move(withdrawn);
        keep(m_prompts->confirm(std::move(question)), m_log);
    }
    /// The title of the open question; empty while none is open. Fails when there are several.
    QString openTitle() const
    {
        QStringList titles;
        for (const auto *dialog : m_window->findChildren<QuestionDialog *>()) {
            if (dialog->isVisible())
                titles << dialog->findChild<QLabel *>(u"questionTitle"_s)->text();
        }
        return titles.join(u" and "_s);
    }
    QPushButton *button(const QString &text) const
    {
        for (auto *found : m_window->findChildren<QPushButton *>()) {
            if (found->text() == text && found->isVisible())
                return found;
        }
        return nullptr;
    }
    void askName()
    {
        keep(m_prompts->askName(
                 {u"New Folder"_s, u"Create a folder in ~."_s, u"untitled folder"_s, u"Create"_s}),
             m_log);
    }
    /// Waits for a dialog to become active and returns it.
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
        m_prompts->setGuardTime(0ms);
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }
    void cleanup()
    {
        m_window.reset();
        m_prompts.reset();
    }

    void confirmsOnlyWithTheConfirmingButton_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("key"); // 0: the dialog is closed
        QTest::addColumn<QString>("answer");
        for (const QString &path : {u""_s, u"/R&D.py"_s}) {
            for (const int key : {0, int(Qt::Key_Escape), int(Qt::Key_Return), int(Qt::Key_Enter),
                                  int(Qt::Key_Space)})
                QTest::addRow("key %x %s", key, qPrintable(path)) << path << key << u"canceled"_s;
        }
        QTest::newRow("Delete") << u""_s << int(Qt::Key_Space) << u"confirmed"_s;
        QTest::newRow("ticked") << u"/R&D.py"_s << int(Qt::Key_Space) << u"confirmed for good"_s;
    }
    void confirmsOnlyWithTheConfirmingButton()
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
        const QString button = answer == u"canceled" ? u"Cancel"_s : u"Delete"_s;
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

    void fitsOnTheScreenWhateverTheNames()
    {
        const QString name = u"<h1>\n"_s + QString(4'000, u'x');
        keep(m_prompts->confirm({name, u"Removes "_s + name, u"Delete"_s, name}), m_log);
        auto *box = opened<QuestionDialog>();
        QVERIFY(!texts(*box).contains(u'\n'));
        const QRect screen = box->screen()->availableGeometry();
        QVERIFY(screen.contains(box->geometry()));
        for (const auto *button : box->findChildren<QPushButton *>())
            QVERIFY(box->rect().contains(QRect(button->mapTo(box, QPoint()), button->size())));
        box->close();
        keep(m_prompts->askName({u"New Folder"_s, name, name, u"Create"_s}), m_log);
        QTRY_VERIFY(!qobject_cast<QuestionDialog *>(opened<QDialog>()));
        QVERIFY(screen.size().width() >= opened<QDialog>()->width());
    }

    void ignoresInputInItsGuardTime()
    {
        m_prompts->setGuardTime(600ms);
        askToWrite(u"/a"_s, Asker::Assistant);
        askToWrite(u"/main.py"_s, Asker::Assistant, {}, u"Delete"_s);
        QThread::msleep(650); // nothing is painted meanwhile
        for (const QString &title : {u"/a"_s, u"/main.py"_s}) {
            QTRY_COMPARE(openTitle(), title);
            const qsizetype answered = m_log.size();
            auto *dialog = opened<QuestionDialog>();
            for (QPushButton *each : dialog->findChildren<QPushButton *>())
                QTest::mouseDClick(each, Qt::LeftButton);
            for (const int key : {Qt::Key_Return, Qt::Key_Space, Qt::Key_Escape})
                press(dialog, key);
            QCoreApplication::processEvents();
            QCOMPARE(openTitle(), title);
            QTRY_VERIFY(button(u"Cancel"_s)->hasFocus());
            QTest::mouseClick(button(u"Cancel"_s), Qt::LeftButton);
            QTRY_COMPARE(m_log.size(), answered + 1);
        }
        QCOMPARE(m_log, (QStringList{u"canceled"_s, u"canceled"_s}));
        askName();
        auto *prompt = opened<QDialog>();
        for (const int key : {Qt::Key_A, Qt::Key_Return, Qt::Key_Escape})
            press(prompt, key);
        QTRY_VERIFY(button(u"Create"_s)->isEnabled());
        press(prompt, Qt::Key_Return);
        QTRY_COMPARE(m_log.constLast(), u"<a>"_s); // a name can be typed at once
    }

    void asksOneQuestionAfterTheOther()
    {
        std::stop_source left;
        std::stop_source leftWhileOpen;
        askToWrite(u"/1"_s, Asker::Assistant);
        askToWrite(u"/2"_s, Asker::Assistant, left.get_token());
        askToWrite(u"/3"_s, Asker::Assistant, leftWhileOpen.get_token());
        askToWrite(u"/4"_s, Asker::Assistant);
        askToWrite(u"/5"_s, Asker::Assistant);
        askToWrite(u"/mine"_s, Asker::User);
        const auto caption = [this] {
            return opened<QDialog>()->findChild<QLabel *>(u"questionCaption"_s)->text();
        };
        QTRY_COMPARE(openTitle(), u"/1"_s);
        QCOMPARE(caption(), u"Asked by the assistant — 5 more questions are waiting"_s);
        left.request_stop();
        QTRY_COMPARE(caption(), u"Asked by the assistant — 4 more questions are waiting"_s);
        QCOMPARE(m_log, QStringList{u"canceled"_s}); // its caller is resumed at once
        button(u"Write"_s)->click();
        QTRY_COMPARE(openTitle(), u"/mine"_s); // before the assistant's
        QCOMPARE(caption(), u"Asked for your action — 3 more questions are waiting"_s);
        QVERIFY(!button(u"Decline All"_s));
        button(u"Write"_s)->click();
        QTRY_COMPARE(openTitle(), u"/3"_s);
        leftWhileOpen.request_stop();
        QTRY_COMPARE(openTitle(), u"/4"_s);
        button(u"Decline All"_s)->click();
        QTRY_COMPARE(m_log.size(), 6);
        QCOMPARE(openTitle(), QString());
        QCOMPARE(m_log.count(u"confirmed"_s), 2);
        askToWrite(u"/withdrawn before"_s, Asker::User, left.get_token());
        askToWrite(u"/last"_s, Asker::Assistant);
        QTRY_COMPARE(openTitle(), u"/last"_s);
        QVERIFY(!button(u"Decline All"_s)); // Cancel does that
    }

    void stopsTheServerFromAnOpenQuestion()
    {
        m_prompts->setStopServer([this] { m_log << u"stopped"_s; });
        askToWrite(u"/1"_s, Asker::Assistant);
        QTRY_COMPARE(openTitle(), u"/1"_s);
        const auto places = [this] {
            const auto *dialog = opened<QuestionDialog>();
            dialog->layout()->activate();
            return std::pair(button(u"Stop MCP Server"_s)->geometry(),
                             button(u"Write"_s)->geometry());
        };
        const auto before = places();
        askToWrite(u"/2"_s, Asker::Assistant);
        QVERIFY(button(u"Decline All"_s));
        QVERIFY(places() == before);
        button(u"Stop MCP Server"_s)->click();
        QTRY_COMPARE(m_log, (QStringList{u"stopped"_s, u"canceled"_s, u"canceled"_s}));
    }

    void refreshesAQuestionWhenItIsOpened()
    {
        QStringList state{u"creating"_s};
        const auto ask = [&] {
            UserPrompts::Confirmation question;
            question.prepare = [&] { return textsFor(state); };
            keep(m_prompts->confirm(std::move(question)), m_log);
        };
        askToWrite(u"/1"_s, Asker::Assistant);
        ask();
        ask();
        state = QStringList{u"replacing"_s};
        QTRY_COMPARE(openTitle(), u"/1"_s);
        button(u"Cancel"_s)->click();
        QTRY_COMPARE(openTitle(), u"replacing"_s);
        state.clear(); // nothing to ask any more
        button(u"Yes"_s)->click();
        QTRY_COMPARE(m_log, (QStringList{u"canceled"_s, u"confirmed"_s, u"canceled"_s}));
    }

    void asksTheUserBeforeAQuestionThatIsPrepared()
    {
        std::array<OneShot<bool>, 3> readiness;
        size_t asked = 0;
        std::stop_source left;
        const auto ask = [&] {
            UserPrompts::Confirmation question;
            question.asker = Asker::Assistant;
            question.withdrawn = left.get_token();
            question.prepare = [&] { return textsFor({u"prepared"_s}, &readiness[asked++]); };
            keep(m_prompts->confirm(std::move(question)), m_log);
        };
        ask();
        askToWrite(u"/mine"_s, Asker::User);
        QTRY_COMPARE(openTitle(), u"/mine"_s);
        readiness[0].deliver(true);
        QCoreApplication::processEvents();
        QCOMPARE(openTitle(), u"/mine"_s);
        button(u"Write"_s)->click();
        QTRY_COMPARE(asked, 2U);
        readiness[1].deliver(true);
        QTRY_COMPARE(openTitle(), u"prepared"_s);
        button(u"Cancel"_s)->click();
        ask();
        QTRY_COMPARE(asked, 3U);
        left.request_stop();
        QTRY_COMPARE(m_log, u"confirmed canceled canceled"_s.split(u' '));
    }

    void asksForNames_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("answer");
        QTest::newRow("as proposed") << QString() << int(Qt::Key_Return) << u"<untitled folder>"_s;
        QTest::newRow("typed over") << u" a b  "_s << int(Qt::Key_Enter) << u"<a b>"_s;
        QTest::newRow("blanks alone") << u"   "_s << int(Qt::Key_Return) << u"<>"_s;
        QTest::newRow("canceled") << u"lib"_s << int(Qt::Key_Escape) << u"<>"_s;
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
        QCOMPARE(prompt->findChild<QLabel *>()->text(), u"Create a folder in ~."_s);
        QCOMPARE(defaultButtons(*prompt), u"Create"_s);
        QTest::keyClicks(field, typed);
        press(prompt, key);
        QTRY_COMPARE(m_log.size(), 1);
        QTEST(m_log.constFirst(), "answer");
    }

    void keepsANameThatCannotBeUsed()
    {
        UserPrompts::NamePrompt prompt;
        prompt.problem = [](const QString &name) { return name == u"a/" ? u"No."_s : QString(); };
        keep(m_prompts->askName(std::move(prompt)), m_log);
        auto *dialog = opened<QDialog>();
        for (const int key : {Qt::Key_A, Qt::Key_Slash, Qt::Key_Return})
            press(dialog, key);
        const auto *problem = dialog->findChild<QLabel *>(u"nameProblem"_s);
        QVERIFY(problem->isVisible() && problem->text() == u"No.");
        press(dialog, Qt::Key_Backspace);
        QCOMPARE(problem->text(), QString());
        press(dialog, Qt::Key_Return);
        QTRY_COMPARE(m_log, QStringList{u"<a>"_s});
    }

    void asksForPaths()
    {
        QTemporaryDir folder;
        keep(m_prompts->askSavePath(folder.path(), u"a.py"_s), m_log);
        auto *save = opened<QFileDialog>();
        QCOMPARE(save->findChild<QLineEdit *>()->text(), u"a.py"_s);
        QVERIFY(save->testOption(QFileDialog::DontConfirmOverwrite)); // Qt shows markup
        QCOMPARE(save->acceptMode(), QFileDialog::AcceptSave);
        press(save, Qt::Key_Return);
        QTRY_COMPARE(m_log.join(u' '), u'<' + folder.filePath(u"a.py"_s) + u'>');
        keep(m_prompts->askOpenPath(folder.path()), m_log);
        auto *open = opened<QFileDialog>();
        QCOMPARE(open->fileMode(), QFileDialog::ExistingFile);
        press(open, Qt::Key_Escape);
        QTRY_COMPARE(m_log.last(), u"<>"_s);
    }

    void endsWithEveryQuestionOpen()
    {
        const std::function<void()> asking[] = {
            [this] { askToDelete(u"/x"_s); }, [this] { askName(); },
            [this] { keep(m_prompts->askOpenPath(u"/"_s), m_log); }};
        QStringList answers;
        for (int round = 0; round < 6; ++round) {
            init();
            asking[round / 2]();
            opened<QDialog>();
            if (round % 2 > 0)
                m_window.reset();
            m_prompts.reset();
            m_window.reset();
            answers << m_log;
        }
        QCOMPARE(answers, u"canceled canceled <> <> <> <>"_s.split(u' '));
    }
};

QTEST_MAIN(tst_PromptDialogs)
#include "tst_PromptDialogs.moc"
