// The program, with a remote control for its dialogs: each line on standard input is answered by
// one. "question" asks what the open question says; anything else is the button to click in it. It
// ends with its input.
#include "ui/window/KorvaneApp.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QPushButton>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

static QByteArray answer(const QByteArray &command)
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    QMessageBox *box = nullptr;
    for (QWidget *widget : widgets) {
        if (widget->isVisible() && !box)
            box = qobject_cast<QMessageBox *>(widget);
    }
    if (!box)
        return "null";
    QStringList titles;
    for (QAbstractButton *button : box->buttons()) {
        titles << button->text();
        if (button->text() == QString::fromUtf8(command)) {
            button->click();
            return "clicked";
        }
    }
    titles.sort();
    const QJsonObject question{{QStringLiteral("title"), box->text()},
                               {QStringLiteral("message"), box->informativeText()},
                               {QStringLiteral("buttons"), QJsonArray::fromStringList(titles)},
                               {QStringLiteral("default"), box->defaultButton()->text()}};
    return QJsonDocument(question).toJson(QJsonDocument::Compact);
}

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
