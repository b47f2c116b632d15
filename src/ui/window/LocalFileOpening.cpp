#include "ui/window/LocalFileOpening.h"

#include "app/AppState.h"

#include <QFileInfo>
#include <QPointer>

namespace Korvane {

QCoro::Task<void> openLocalFile(AppState &state, QString path, int line)
{
    const QPointer<AppState> alive = &state;
    const auto opened = co_await state.documents().openFile(path);
    if (opened && alive && line > 0)
        emit state.sourceLineOpened(line);
    // Closed: the state was destroyed.
    if (opened || opened.error().code == ErrorCode::Closed)
        co_return;
    state.shell().appendError(QStringLiteral("Cannot open %1: %2")
                                  .arg(QFileInfo(path).fileName(), opened.error().message));
}

} // namespace Korvane
