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

namespace {

// Beside the keys
constexpr int tickTheBox = -1;
constexpr int tabToDelete = -2;

QCoro::Task<void> keepConfirmation(Questions &questions, Questions::Confirmation question,
                                   QStringList &log)
{
    const auto answer = co_await questions.confirm(std::move(question));
    log << (answer.confirmed ? QStringLiteral("confirmed") : QStringLiteral("cancelled"))
            + (answer.dontAskAgain ? QStringLiteral(" for good") : QString());
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
        question.title = QStringLiteral("Delete <b>?");
        question.message = QStringLiteral("Removes <i>&.");
        question.confirmTitle = QStringLiteral("Delete");
        question.dontAskAgainPath = path;
        keepConfirmation(*m_questions, std::move(question), m_log);
    }
    void askName()
    {
        Questions::NamePrompt prompt;
        prompt.title = QStringLiteral("New Folder");
        prompt.message = QStringLiteral("Create a folder in ~.");
        prompt.proposedName = QStringLiteral("untitled folder");
        prompt.confirmTitle = QStringLiteral("Create");
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
        const QString path = QStringLiteral("/R&D.py");
        QTest::newRow("Escape") << QString() << QList<int>{Qt::Key_Escape} << u"cancelled"_qs;
        QTest::newRow("Return") << QString() << QList<int>{Qt::Key_Return} << u"cancelled"_qs;
        QTest::newRow("Enter") << QString() << QList<int>{Qt::Key_Enter} << u"cancelled"_qs;
        QTest::newRow("Space on Cancel")
            << QString() << QList<int>{Qt::Key_Space} << u"cancelled"_qs;
        QTest::newRow("closed") << path << QList<int>{} << u"cancelled"_qs;
        QTest::newRow("Space on Delete")
            << QString() << QList<int>{tabToDelete, Qt::Key_Space} << u"confirmed"_qs;
        QTest::newRow("Return with the box")
            << path << QList<int>{Qt::Key_Return} << u"cancelled"_qs;
        QTest::newRow("Delete for good")
            << path << QList<int>{tickTheBox, tabToDelete, Qt::Key_Space}
            << u"confirmed for good"_qs;
    }
    void confirmsOnlyWhatWasMeant()
    {
        QFETCH(QString, path);
        QFETCH(QList<int>, keys);
        askToDelete(path);
        auto *box = qobject_cast<QMessageBox *>(dialog());
        QVERIFY(box);
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        QCOMPARE(box->text() + box->informativeText(), QStringLiteral("Delete <b>?Removes <i>&."));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->icon(), QMessageBox::Warning);
        QCOMPARE(qobject_cast<QPushButton *>(box->focusWidget())->text(), QStringLiteral("Cancel"));
        for (const auto *button : box->findChildren<QPushButton *>()) {
            QCOMPARE(button->isDefault(), button->text() == u"Cancel");
        }
        QCOMPARE(box->checkBox() ? box->checkBox()->text() : QString(),
                 path.isEmpty() ? QString() : QStringLiteral("Don't ask again for /R&&D.py"));
        if (keys.isEmpty())
            box->close();
        for (const int key : keys) {
            if (key == tickTheBox)
                QTest::mouseClick(box->checkBox(), Qt::LeftButton, {}, QPoint(8, 8));
            else if (key == tabToDelete)
                tabTo(box, QStringLiteral("Delete"));
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
        QTest::newRow("as proposed") << QString() << int(Qt::Key_Return) << u"<untitled folder>"_qs;
        QTest::newRow("typed over") << u"lib"_qs << int(Qt::Key_Enter) << u"<lib>"_qs;
        QTest::newRow("with blanks") << u"  a b  "_qs << int(Qt::Key_Return) << u"<a b>"_qs;
        QTest::newRow("blanks alone") << u"   "_qs << int(Qt::Key_Return) << u"<>"_qs;
        QTest::newRow("cancelled") << u"lib"_qs << int(Qt::Key_Escape) << u"<>"_qs;
    }
    void asksForNames()
    {
        QFETCH(QString, typed);
        QFETCH(int, key);
        askName();
        QDialog *prompt = dialog();
        QVERIFY(prompt);
        QCOMPARE(prompt->windowTitle(), QStringLiteral("New Folder"));
        auto *field = prompt->findChild<QLineEdit *>();
        QVERIFY(field->hasFocus());
        QCOMPARE(field->placeholderText(), QStringLiteral("untitled folder"));
        QVERIFY(field->width() >= 260 && field->height() >= 24);
        QCOMPARE(prompt->findChild<QLabel *>()->text(), QStringLiteral("Create a folder in ~."));
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
        keepPath(m_questions->askSavePath(folder.path(), QStringLiteral("a.py")), m_log);
        auto *save = qobject_cast<QFileDialog *>(dialog());
        QVERIFY(save);
        QCOMPARE(save->findChild<QLineEdit *>()->text(), QStringLiteral("a.py"));
        QCOMPARE(save->directory().path(), folder.path());
        press(save, Qt::Key_Return);
        QTRY_COMPARE(m_log.join(u' '), u'<' + folder.filePath(QStringLiteral("a.py")) + u'>');
        keepPath(m_questions->askOpenPath(folder.path()), m_log);
        auto *open = qobject_cast<QFileDialog *>(dialog());
        QVERIFY(open);
        QCOMPARE(open->fileMode(), QFileDialog::ExistingFile);
        press(open, Qt::Key_Escape);
        QTRY_COMPARE(m_log.last(), QStringLiteral("<>"));
    }

    void endsWithEveryQuestionOpen_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<bool>("isAnswered");
        QTest::addColumn<bool>("isWindowFirst");
        for (const QString &what : {u"confirm"_qs, u"name"_qs, u"open"_qs}) {
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
            askToDelete(QStringLiteral("/x"));
        else if (what == u"name")
            askName();
        else
            keepPath(m_questions->askOpenPath(QStringLiteral("/")), m_log);
        QVERIFY(dialog());
        if (isAnswered)
            dialog()->accept();
        if (isWindowFirst)
            m_window.reset();
        m_questions.reset();
        m_window.reset();
        QCOMPARE(m_log.join(u' '), what == u"confirm" ? u"cancelled"_qs : u"<>"_qs);
    }

    void standsAloneWithoutAWindow()
    {
        m_questions->setWindow(nullptr);
        keepPath(m_questions->askSavePath(QDir::tempPath(), QStringLiteral("a.py")), m_log);
        QCOMPARE(m_log.join(u' '), QStringLiteral("<>")); // only ever over its window
        m_log.clear();
        askName();
        QDialog *prompt = dialog();
        QVERIFY(prompt);
        QCOMPARE(prompt->windowModality(), Qt::ApplicationModal);
        press(prompt, Qt::Key_Escape);
        QTRY_COMPARE(m_log.join(u' '), QStringLiteral("<>"));
    }
};

QTEST_MAIN(tst_WindowQuestions)
#include "tst_WindowQuestions.moc"
