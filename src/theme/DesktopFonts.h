#pragma once

#include <QString>

namespace Korvane {

/// Loads the desktop's fonts beside the start of the program: the work on them is a third of it,
/// and Qt begins it only with the first text, on the main thread. Without `load` the start takes
/// longer, and nothing else changes.
class DesktopFonts final
{
public:
    DesktopFonts() = delete;

    /// Begins with Fontconfig's list. Main thread, before the application is made.
    static void load();
    /// Continues with Qt's own list. Main thread, when the application has been made.
    static void loadForQt();
    /// Waits for both. The application's font has an installed family from then on, where it had a
    /// generic one. Main thread.
    static void finishLoading();

    /// The installed family that stands for \p family when that is "monospace" or "sans-serif",
    /// also in Qt's spelling; otherwise, and before `finishLoading`, \p family itself.
    [[nodiscard]] static QString installedFamily(const QString &family);
};

} // namespace Korvane
