#pragma once

#include <QDir>
#include <QString>

namespace Korvane {

/// The folder for state that is neither a setting nor a document of the user:
/// $XDG_STATE_HOME/korvane, by default ~/.local/state/korvane. It need not exist.
[[nodiscard]] inline QString stateFolder()
{
    QString folder = qEnvironmentVariable("XDG_STATE_HOME");
    // Relative paths are ignored, as the XDG Base Directory convention requires.
    if (!QDir::isAbsolutePath(folder))
        folder = QDir::homePath() + QStringLiteral("/.local/state");
    return folder + QStringLiteral("/korvane");
}

} // namespace Korvane
