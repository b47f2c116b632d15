#pragma once

#include <QString>

namespace Korvane {

/// Makes \p folder the home of the user, with the settings and the state of programs in it.
inline void useHome(const QString &folder)
{
    for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
        qputenv(name, folder.toLocal8Bit());
}

} // namespace Korvane
