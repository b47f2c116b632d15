#pragma once

#include <QCoro/QCoroTask>
#include <QString>

namespace Korvane {

class AppState;

/// Opens the file at \p path in the editor; says in the Shell why, when that can't be done. The
/// task may be dropped.
QCoro::Task<void> openLocalFile(AppState &state, QString path, int line = 0);

} // namespace Korvane
