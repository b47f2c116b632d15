// The program, with a remote control for its dialogs: commands come on standard input, one a line,
// and each is answered by one line. It ends with its input.
#include "ui/KorvaneApp.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QPushButton>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace {

QList<QMessageBox *> openQuestions()
{
    QList<QMessageBox *> boxes;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        auto *box = qobject_cast<QMessageBox *>(widget);
        if (box && box->isVisible())
            boxes << box;
    }
    return boxes;
}

QByteArray describeQuestions()
{
    QJsonArray questions;
    for (QMessageBox *box : openQuestions()) {
        QStringList buttons;
        for (const QAbstractButton *button : box->buttons())
            buttons << button->text();
        buttons.sort();
        questions << QJsonObject{{QStringLiteral("title"), box->text()},
                                 {QStringLiteral("message"), box->informativeText()},
                                 {QStringLiteral("buttons"), QJsonArray::fromStringList(buttons)},
                                 {QStringLiteral("default"), box->defaultButton()->text()}};
    }
    return QJsonDocument(questions).toJson(QJsonDocument::Compact);
}

QByteArray click(const QString &text)
{
    for (QMessageBox *box : openQuestions()) {
        for (QAbstractButton *button : box->buttons()) {
            if (button->text() == text) {
                button->click();
                return "clicked";
            }
        }
    }
    return "nothing to click";
}

QByteArray answer(const QByteArray &command)
{
    if (command == "questions")
        return describeQuestions();
    if (command.startsWith("click "))
        return click(QString::fromUtf8(command.sliced(6)));
    return "unknown command";
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    Korvane::KorvaneApp::setUp(application);
    Korvane::KorvaneApp korvane;
    korvane.show();

    QByteArray input;
    QSocketNotifier notifier(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &application, [&input] {
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count <= 0)
            return QApplication::quit();
        input.append(bytes, count);
        for (qsizetype end = input.indexOf('\n'); end >= 0; end = input.indexOf('\n')) {
            std::puts(answer(input.first(end)).constData());
            std::fflush(stdout);
            input.remove(0, end + 1);
        }
    });
    return QApplication::exec();
}
