#pragma once

#include "app/CommandLine.h"
#include "base/Async.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QString>
#include <QStringList>

namespace Korvane {

class AppState;

/// Opens the file at \p path in the editor and selects its tab. With a \p line above 0, the caret
/// is set to that line and the editor gets the focus. An error's message is the full text for the
/// user.
[[nodiscard]] Async<void> openLocalFile(AppState &state, QString path, int line = 0);
/// One after the other, so that the tabs have the order of \p files. Reports failures in the Shell.
/// This task and the next one may be dropped.
QCoro::Task<void> openLocalFiles(AppState &state, QList<FileArgument> files);
/// Shows the folders among \p paths in the sidebar, and opens the files.
QCoro::Task<void> openLocalPaths(AppState &state, QStringList paths);
/// Shows the folder at \p path in the sidebar.
void openLocalFolder(AppState &state, const QString &path);

} // namespace Korvane
