#include "ui/window/LocalFileOpening.h"

#include "app/AppState.h"

#include <QFileInfo>
#include <QPointer>

#include <utility>

namespace Korvane {

QCoro::Task<bool> openLocalFile(AppState &state, QString path, int line)
{
    const QPointer<AppState> alive = &state;
    const auto opened = co_await state.documents().openFile(path);
    if (opened && alive && line > 0)
        emit state.sourceLineOpened(line);
    // Closed: the state was destroyed.
    if (!opened && opened.error().code != ErrorCode::Closed) {
        state.shell().appendError(QStringLiteral("Cannot open %1: %2")
                                      .arg(QFileInfo(path).fileName(), opened.error().message));
    }
    co_return static_cast<bool>(opened);
}

QCoro::Task<void> openLocalFiles(AppState &state, QList<FileArgument> files)
{
    const QPointer<AppState> alive = &state;
    for (const FileArgument &file : std::as_const(files)) {
        co_await openLocalFile(state, file.path, file.line);
        if (!alive)
            co_return;
    }
}

void openLocalFolder(AppState &state, const QString &path)
{
    state.localFiles().setLocalWorkingDir(path);
    state.setSidebarTab(AppState::SidebarTab::Local);
}

} // namespace Korvane
