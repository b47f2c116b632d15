#include "ui/window/LocalFileOpening.h"

#include "app/AppState.h"

#include <QFileInfo>

#include <utility>

namespace Korvane {

QCoro::Task<bool> openLocalFile(AppState &state, QString path, int line)
{
    const auto life = state.watch();
    const auto opened = co_await state.documents().openFile(path);
    if (!life)
        co_return false;
    if (opened && line > 0)
        emit state.sourceLineOpened(line);
    if (!opened) {
        state.shell().appendError(QStringLiteral("Cannot open %1: %2")
                                      .arg(QFileInfo(path).fileName(), opened.error().message));
    }
    co_return static_cast<bool>(opened);
}

QCoro::Task<void> openLocalFiles(AppState &state, QList<FileArgument> files)
{
    const auto life = state.watch();
    for (const FileArgument &file : std::as_const(files)) {
        co_await openLocalFile(state, file.path, file.line);
        if (!life)
            co_return;
    }
}

QCoro::Task<void> openLocalPaths(AppState &state, QStringList paths)
{
    const auto life = state.watch();
    QList<FileArgument> files;
    for (const QString &path : std::as_const(paths)) {
        const auto details = co_await state.localFiles().details(path);
        if (!life)
            co_return;
        if (details && details->isDirectory)
            openLocalFolder(state, path);
        else
            files.append({path});
    }
    co_await openLocalFiles(state, files);
}

void openLocalFolder(AppState &state, const QString &path)
{
    state.localFiles().setLocalWorkingDir(path);
    state.setSidebarTab(AppState::SidebarTab::Local);
}

} // namespace Korvane
