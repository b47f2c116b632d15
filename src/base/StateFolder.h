#pragma once

#include <QDir>
#include <QString>

namespace Korvane {

/// Where the program remembers what is neither a setting nor a document of the user's:
/// $XDG_STATE_HOME/korvane, by default ~/.local/state/korvane. It need not exist.
[[nodiscard]] inline QString stateFolder()
{
    QString folder = qEnvironmentVariable("XDG_STATE_HOME");
    if (!QDir::isAbsolutePath(folder)) // the convention says to ignore a relative one
        folder = QDir::homePath() + QStringLiteral("/.local/state");
    return folder + QStringLiteral("/korvane");
}

} // namespace Korvane
