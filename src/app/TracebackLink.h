#pragma once

#include <QString>
#include <QStringView>

#include <optional>

namespace Korvane {

/// A place in a source that a line of a traceback names, of Python or of MicroPython.
struct TracebackLink
{
    /// Where it is in the line: from the name of the file to the number of the line.
    qsizetype start = 0;
    qsizetype length = 0;
    /// As the traceback has it: a path, "main.py", or a name in angle brackets such as "<stdin>".
    QString file;
    /// From 1.
    int line = 0;

    /// The place that \p text, one line, names as `File "…", line N` after spaces, tabs or the "|"
    /// of an exception group.
    [[nodiscard]] static std::optional<TracebackLink> find(QStringView text);

    friend bool operator==(const TracebackLink &, const TracebackLink &) = default;
};

} // namespace Korvane
