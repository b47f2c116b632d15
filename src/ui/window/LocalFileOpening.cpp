#include "ui/window/LocalFileOpening.h"

#include "app/AppState.h"

#include <QFileInfo>

namespace Korvane {

QCoro::Task<void> openLocalFile(AppState &state, QString path)
{
    const auto opened = co_await state.documents().openFile(path);
    // Closed: the state was destroyed.
    if (opened || opened.error().code == ErrorCode::Closed)
        co_return;
    state.shell().appendError(QStringLiteral("Cannot open %1: %2")
                                  .arg(QFileInfo(path).fileName(), opened.error().message));
}

} // namespace Korvane
