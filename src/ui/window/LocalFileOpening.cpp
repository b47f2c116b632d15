#include "ui/window/LocalFileOpening.h"

#include "app/AppState.h"
#include "base/VisibleText.h"

#include <QFileInfo>

namespace Korvane {

QCoro::Task<void> openLocalFile(AppState &state, QString path)
{
    const auto opened = co_await state.documents().openFile(path);
    // Closed: the state has gone, and nothing of it may be touched.
    if (opened || opened.error().code == ErrorCode::Closed)
        co_return;
    state.shell().appendError(
        QStringLiteral("Cannot open %1: %2")
            .arg(VisibleText::line(QFileInfo(path).fileName()), opened.error().message));
}

} // namespace Korvane
