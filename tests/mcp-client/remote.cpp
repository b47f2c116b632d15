// The program, with commands for its questions on standard input, one a line. "question" prints the
// open question as JSON; any other line clicks the button of that text. Each command prints one
// line. The program ends when its input is closed.
#include "ui/dialogs/QuestionDialog.h"
#include "ui/window/KorvaneApp.h"

#include <QApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QSocketNotifier>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

static QByteArray answer(const QByteArray &command)
{
    const QWidgetList widgets = QApplication::topLevelWidgets();
    const auto found = std::find_if(widgets.begin(), widgets.end(), [](QWidget *widget) {
        return widget->isVisible() && qobject_cast<Korvane::QuestionDialog *>(widget);
    });
    if (found == widgets.end())
        return "null";
    QStringList titles;
    QString defaultTitle;
    for (QPushButton *button : (*found)->findChildren<QPushButton *>()) {
        if (!button->isEnabled())
            return "null"; // still in its guard time
        if (!button->isVisible())
            continue;
        titles << button->text();
        if (button->isDefault())
            defaultTitle = button->text();
        if (button->text() == QString::fromUtf8(command)) {
            button->click();
            return "clicked";
        }
    }
    titles.sort();
    const auto text = [found](const char *name) {
        return (*found)->findChild<QLabel *>(QString::fromLatin1(name))->text();
    };
    const QJsonObject question{{QStringLiteral("title"), text("questionTitle")},
                               {QStringLiteral("message"), text("questionMessage")},
                               {QStringLiteral("buttons"), QJsonArray::fromStringList(titles)},
                               {QStringLiteral("default"), defaultTitle}};
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
