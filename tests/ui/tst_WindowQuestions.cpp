#include "ui/WindowQuestions.h"

#include "support/Awaited.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

using namespace Korvane;
using namespace Qt::StringLiterals;

namespace {

// Beside the keys
constexpr int tickTheBox = -1;
constexpr int tabToDelete = -2;

QCoro::Task<void> keepConfirmation(Questions &questions, Questions::Confirmation question,
                                   QStringList &log)
{
    const auto answer = co_await questions.confirm(std::move(question));
    log << (answer.confirmed ? u"confirmed"_s : u"cancelled"_s)
            + (answer.dontAskAgain ? u" for good"_s : QString());
}

QCoro::Task<void> keepName(Questions &questions, Questions::NamePrompt prompt, QStringList &log)
{
    const QString name = co_await questions.askName(std::move(prompt));
    log << u'<' + name + u'>';
}

QCoro::Task<void> keepPath(QCoro::Task<QString> path, QStringList &log)
{
    const QString chosen = co_await std::move(path);
    log << u'<' + chosen + u'>';
}

} // namespace

/// A person who answers dialogs with keys.
class tst_WindowQuestions final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QMainWindow> m_window;
    std::unique_ptr<WindowQuestions> m_questions;
    QStringList m_log;

    void askToDelete(const QString &path = {})
    {
        Questions::Confirmation question;
        question.title = u"Delete <b>?"_s;
        question.message = u"Removes <i>&."_s;
        question.confirmTitle = u"Delete"_s;
        question.dontAskAgainPath = path;
        keepConfirmation(*m_questions, std::move(question), m_log);
    }
    void askName()
    {
        Questions::NamePrompt prompt;
        prompt.title = u"New Folder"_s;
        prompt.message = u"Create a folder in ~."_s;
        prompt.proposedName = u"untitled folder"_s;
        prompt.confirmTitle = u"Create"_s;
        keepName(*m_questions, std::move(prompt), m_log);
    }
    QDialog *dialog() const
    {
        const auto isReady = [this] {
            return QApplication::activeWindow() && QApplication::activeWindow() != m_window.get();
        };
        return QTest::qWaitFor(isReady) ? qobject_cast<QDialog *>(QApplication::activeWindow())
                                        : nullptr;
    }
    static void tabTo(QWidget *box, const QString &title)
    {
        for (int i = 0; i < 5; ++i) {
            const auto *button = qobject_cast<QPushButton *>(box->focusWidget());
            if (button && button->text() == title)
                return;
            press(box, Qt::Key_Tab);
        }
        QFAIL("no such button");
    }
    static void press(QWidget *where, Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(where->windowHandle(), key, modifiers);
    }

private slots:
    void init()
    {
        m_log.clear();
        m_window = std::make_unique<QMainWindow>();
        m_questions = std::make_unique<WindowQuestions>();
        m_questions->setWindow(m_window.get());
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    }
    void cleanup()
    {
        m_window.reset();
        m_questions.reset();
    }

    void confirmsOnlyWhatWasMeant_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<QString>("answer");
        const QString path = u"/R&D.py"_s;
        QTest::newRow("Escape") << QString() << QList<int>{Qt::Key_Escape} << u"cancelled"_s;
        QTest::newRow("Return") << QString() << QList<int>{Qt::Key_Return} << u"cancelled"_s;
        QTest::newRow("Enter") << QString() << QList<int>{Qt::Key_Enter} << u"cancelled"_s;
        QTest::newRow("Space on Cancel")
            << QString() << QList<int>{Qt::Key_Space} << u"cancelled"_s;
        QTest::newRow("closed") << path << QList<int>{} << u"cancelled"_s;
        QTest::newRow("Space on Delete")
            << QString() << QList<int>{tabToDelete, Qt::Key_Space} << u"confirmed"_s;
        QTest::newRow("Return with the box")
            << path << QList<int>{Qt::Key_Return} << u"cancelled"_s;
        QTest::newRow("Delete for good")
            << path << QList<int>{tickTheBox, tabToDelete, Qt::Key_Space}
            << u"confirmed for good"_s;
    }
    void confirmsOnlyWhatWasMeant()
    {
        QFETCH(QString, path);
        QFETCH(QList<int>, keys);
        askToDelete(path);
        auto *box = qobject_cast<QMessageBox *>(dialog());
        QVERIFY(box);
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        QCOMPARE(box->text() + box->informativeText(), u"Delete <b>?Removes <i>&."_s);
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->icon(), QMessageBox::Warning);
        QCOMPARE(qobject_cast<QPushButton *>(box->focusWidget())->text(), u"Cancel"_s);
        for (const auto *button : box->findChildren<QPushButton *>()) {
            QCOMPARE(button->isDefault(), button->text() == u"Cancel");
        }
        QCOMPARE(box->checkBox() ? box->checkBox()->text() : QString(),
                 path.isEmpty() ? QString() : u"Don't ask again for /R&&D.py"_s);
        if (keys.isEmpty())
            box->close();
        for (const int key : keys) {
            if (key == tickTheBox)
                QTest::mouseClick(box->checkBox(), Qt::LeftButton, {}, QPoint(8, 8));
            else if (key == tabToDelete)
                tabTo(box, u"Delete"_s);
            else
                press(box, static_cast<Qt::Key>(key));
        }
        QTRY_COMPARE(m_log.size(), 1);
        QTEST(m_log.constFirst(), "answer");
        QTRY_VERIFY(m_window->findChildren<QDialog *>().isEmpty());
    }

    void asksForNames_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("answer");
        QTest::newRow("as proposed") << QString() << int(Qt::Key_Return) << u"<untitled folder>"_s;
        QTest::newRow("typed over") << u"lib"_s << int(Qt::Key_Enter) << u"<lib>"_s;
        QTest::newRow("with blanks") << u"  a b  "_s << int(Qt::Key_Return) << u"<a b>"_s;
        QTest::newRow("blanks alone") << u"   "_s << int(Qt::Key_Return) << u"<>"_s;
        QTest::newRow("cancelled") << u"lib"_s << int(Qt::Key_Escape) << u"<>"_s;
    }
    void asksForNames()
    {
        QFETCH(QString, typed);
        QFETCH(int, key);
        askName();
        QDialog *prompt = dialog();
        QVERIFY(prompt);
        QCOMPARE(prompt->windowTitle(), u"New Folder"_s);
        auto *field = prompt->findChild<QLineEdit *>();
        QVERIFY(field->hasFocus());
        QCOMPARE(field->placeholderText(), u"untitled folder"_s);
        QVERIFY(field->width() >= 260 && field->height() >= 24);
        QCOMPARE(prompt->findChild<QLabel *>()->text(), u"Create a folder in ~."_s);
        for (const auto *button : prompt->findChildren<QPushButton *>())
            QCOMPARE(button->isDefault(), button->text() == u"Create");
        if (!typed.isEmpty())
            QTest::keyClicks(field, typed);
        press(prompt, static_cast<Qt::Key>(key));
        QTRY_COMPARE(m_log.size(), 1);
        QTEST(m_log.constFirst(), "answer");
    }

    void asksForPaths()
    {
        QTemporaryDir folder;
        keepPath(m_questions->askSavePath(folder.path(), u"a.py"_s), m_log);
        auto *save = qobject_cast<QFileDialog *>(dialog());
        QVERIFY(save);
        QCOMPARE(save->findChild<QLineEdit *>()->text(), u"a.py"_s);
        QCOMPARE(save->directory().path(), folder.path());
        press(save, Qt::Key_Return);
        QTRY_COMPARE(m_log.join(u' '), u'<' + folder.filePath(u"a.py"_s) + u'>');
        keepPath(m_questions->askOpenPath(folder.path()), m_log);
        auto *open = qobject_cast<QFileDialog *>(dialog());
        QVERIFY(open);
        QCOMPARE(open->fileMode(), QFileDialog::ExistingFile);
        press(open, Qt::Key_Escape);
        QTRY_COMPARE(m_log.last(), u"<>"_s);
    }

    void endsWithEveryQuestionOpen_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<bool>("isAnswered");
        QTest::addColumn<bool>("isWindowFirst");
        for (const QString &what : {u"confirm"_s, u"name"_s, u"open"_s}) {
            for (const bool isAnswered : {false, true}) {
                for (const bool isWindowFirst : {false, true})
                    QTest::addRow("%s%s%s", qPrintable(what), isAnswered ? ", just answered" : "",
                                  isWindowFirst ? ", the window first" : "")
                        << what << isAnswered << isWindowFirst;
            }
        }
    }
    void endsWithEveryQuestionOpen()
    {
        QFETCH(QString, what);
        QFETCH(bool, isAnswered);
        QFETCH(bool, isWindowFirst);
        if (what == u"confirm")
            askToDelete(u"/x"_s);
        else if (what == u"name")
            askName();
        else
            keepPath(m_questions->askOpenPath(u"/"_s), m_log);
        QVERIFY(dialog());
        if (isAnswered)
            dialog()->accept();
        if (isWindowFirst)
            m_window.reset();
        m_questions.reset();
        m_window.reset();
        QCOMPARE(m_log.join(u' '), what == u"confirm" ? u"cancelled"_s : u"<>"_s);
    }

    void standsAloneWithoutAWindow()
    {
        m_questions->setWindow(nullptr);
        keepPath(m_questions->askSavePath(QDir::tempPath(), u"a.py"_s), m_log);
        QCOMPARE(m_log.join(u' '), u"<>"_s); // only ever over its window
        m_log.clear();
        askName();
        QDialog *prompt = dialog();
        QVERIFY(prompt);
        QCOMPARE(prompt->windowModality(), Qt::ApplicationModal);
        press(prompt, Qt::Key_Escape);
        QTRY_COMPARE(m_log.join(u' '), u"<>"_s);
    }
};

QTEST_MAIN(tst_WindowQuestions)
#include "tst_WindowQuestions.moc"
