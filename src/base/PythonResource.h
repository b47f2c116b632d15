#pragma once

#include <QLatin1StringView>
#include <QString>

namespace Korvane {

/// The text of a Python program that is compiled into the executable as the Qt resource
/// ":/korvane/<name>", for example "debugger/helper.py". The folder's CMakeLists.txt adds it with
/// qt_add_resources, which also registers it in every executable that links the folder's library.
/// A missing program is an error of the build and ends the process. Any thread.
[[nodiscard]] QString pythonResource(QLatin1StringView name);

} // namespace Korvane
