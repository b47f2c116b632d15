#pragma once

#include <QStringList>

/// The languages of the interface. Its texts are written in English; a translation is a file
/// "korvane_<locale>.qm" in the installed folder.
namespace Korvane::Translations {

/// Beside the program: ../share/korvane/translations.
[[nodiscard]] QString folder();
/// The locales, as QLocale::name() has them: "en", which needs no file, and those in \p folder.
[[nodiscard]] QStringList available(const QString &folder = Translations::folder());
/// The name of the language in that language.
[[nodiscard]] QString nameOf(const QString &locale);
/// Loads the translation for \p locale, or for the system's when it is empty. Called before the
/// first widget is made. The texts stay English when the language has no file.
void install(const QString &locale);

} // namespace Korvane::Translations
