#include "ui/window/Translations.h"

#include <QCoreApplication>
#include <QDir>
#include <QLocale>
#include <QTranslator>

namespace Korvane::Translations {

namespace {

const QString prefix = QStringLiteral("korvane_");
const QString suffix = QStringLiteral(".qm");

} // namespace

QString folder()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath()
                           + QStringLiteral("/../share/korvane/translations"));
}

QStringList available(const QString &folder)
{
    QStringList locales{QStringLiteral("en")};
    const QStringList files = QDir(folder).entryList({prefix + u'*' + suffix}, QDir::Files);
    for (const QString &file : files)
        locales << file.sliced(prefix.size()).chopped(suffix.size());
    locales.removeDuplicates();
    return locales;
}

QString nameOf(const QString &locale)
{
    const QString name = QLocale(locale).nativeLanguageName();
    return name.isEmpty() ? locale : name;
}

void install(const QString &locale)
{
    const QLocale wanted = locale.isEmpty() ? QLocale::system() : QLocale(locale);
    if (wanted.language() == QLocale::English || wanted.language() == QLocale::C)
        return;
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (translator->load(wanted, QStringLiteral("korvane"), QStringLiteral("_"), folder()))
        QCoreApplication::installTranslator(translator);
    else
        delete translator;
}

} // namespace Korvane::Translations
