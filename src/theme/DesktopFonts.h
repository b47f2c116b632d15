#pragma once

#include <QString>

namespace Korvane {

/// Loads the list of the desktop's fonts on other threads while the program starts. This is a third
/// of the work of the start, and Qt would do it for the first text, on the main thread. Without
/// `load` the start takes longer, and nothing else changes.
class DesktopFonts final
{
public:
    DesktopFonts() = delete;

    /// Begins with Fontconfig's list. Main thread, before the QGuiApplication is created.
    static void load();
    /// Continues with Qt's own list. Main thread, after the QGuiApplication was created.
    static void loadForQt();
    /// Waits for both, and replaces a generic family in the application's font by the installed
    /// one. Does nothing without `load`, or when called again. Main thread.
    static void finishLoading();

    /// The installed family that Fontconfig uses for \p family when that is "monospace" or
    /// "sans-serif", also in Qt's spelling ("Sans Serif"); otherwise, and before `finishLoading`,
    /// \p family itself. Main thread.
    [[nodiscard]] static QString installedFamily(const QString &family);
};

} // namespace Korvane
