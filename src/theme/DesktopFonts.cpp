#include "theme/DesktopFonts.h"

#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QSemaphore>
#include <QThreadPool>

#include <fontconfig/fontconfig.h>

#include <memory>
#include <utility>

namespace Korvane {

namespace {

struct Loading
{
    bool isStarted = false;
    QSemaphore loaded;        // Fontconfig's list
    QSemaphore loadedByQt;    // Qt's list, made from it
    QSemaphore familiesFound; // sansSerif and monospace are set
    QString sansSerif;
    QString monospace;
} loading;

using PatternPointer = std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)>;

QString matchFamily(const char *generic)
{
    const PatternPointer pattern(FcPatternCreate(), FcPatternDestroy);
    FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8 *>(generic));
    FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    const PatternPointer match(FcFontMatch(nullptr, pattern.get(), &result), FcPatternDestroy);
    FcChar8 *family = nullptr;
    if (!match || FcPatternGetString(match.get(), FC_FAMILY, 0, &family) != FcResultMatch)
        return {};
    return QString::fromUtf8(reinterpret_cast<const char *>(family));
}

} // namespace

void DesktopFonts::load()
{
    loading.isStarted = true;
    QThreadPool::globalInstance()->start([] {
        FcInit();
        loading.loaded.release();
        loading.sansSerif = matchFamily("sans-serif");
        loading.monospace = matchFamily("monospace");
        loading.familiesFound.release();
    });
}

void DesktopFonts::loadForQt()
{
    if (!loading.isStarted)
        return;
    QThreadPool::globalInstance()->start([] {
        loading.loaded.acquire();
        QFontDatabase::families();
        loading.loadedByQt.release();
    });
}

void DesktopFonts::finishLoading()
{
    if (!std::exchange(loading.isStarted, false))
        return;
    loading.familiesFound.acquire();
    // For a generic family Qt has Fontconfig sort all fonts, which takes long.
    QFont font = QGuiApplication::font();
    const QString family = installedFamily(font.family());
    if (family != font.family()) {
        font.setFamily(family);
        QGuiApplication::setFont(font);
    }
    loading.loadedByQt.acquire(); // otherwise this thread would load the list a second time
}

QString DesktopFonts::installedFamily(const QString &family)
{
    const QString simplified = family.toLower().replace(u' ', u'-');
    const QString &installed = simplified == u"monospace" ? loading.monospace
        : simplified == u"sans-serif"                     ? loading.sansSerif
                                                          : family;
    return loading.isStarted || installed.isEmpty() ? family : installed;
}

} // namespace Korvane
