#include "ui/window/LocalFileOpening.h"

#include "app/AppState.h"

#include <QFileInfo>

#include <utility>

namespace Korvane {

Async<void> openLocalFile(AppState &state, QString path, int line)
{
    const auto life = state.watch();
    const auto opened = co_await state.documents().openFile(path);
    if (!life)
        co_return Error{ErrorCode::Closed, {}};
    if (!opened) {
        Error error = opened.error();
        error.message =
            QStringLiteral("Cannot open %1: %2").arg(QFileInfo(path).fileName(), error.message);
        co_return error;
    }
    if (line > 0)
        emit state.sourceLineOpened(line);
    co_return Result<void>();
}

QCoro::Task<void> openLocalFiles(AppState &state, QList<FileArgument> files)
{
    const auto life = state.watch();
    for (const FileArgument &file : std::as_const(files)) {
        co_await state.errors().reportFailureOf(openLocalFile(state, file.path, file.line));
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
