#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace Korvane {

/// A program rewritten so that it can be stopped: each statement line first tests whether to call
/// the breakpoint helper. No statement is moved to another line, so that the board's line numbers
/// are the user's. Construction never fails; `notes` lists the breakpoints that were moved or
/// ignored.
struct InstrumentedRun
{
    /// \p breakpoints are 1-based lines. One on a line where the program can't stop is moved down
    /// or ignored.
    InstrumentedRun(const QString &userSource, const QSet<int> &breakpoints);

    /// The rewritten program, its lines joined by "\n"; the user's, unchanged, when it has no
    /// statement.
    QString source;
    /// 1-based lines on which a breakpoint is armed.
    QSet<int> activeLines;
    /// 1-based lines at which the program can stop.
    QSet<int> steppableLines;
    /// Messages for the user, in the order of the breakpoints.
    QStringList notes;
    /// The sizes of the user's source and of `source` in UTF-8.
    qsizetype originalBytes;
    qsizetype instrumentedBytes;
};

} // namespace Korvane
