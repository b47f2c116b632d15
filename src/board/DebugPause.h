#pragma once

#include "base/Records.h"

#include <QByteArrayView>

#include <optional>

namespace Korvane {

/// One stop of a debugged program, as the board reported it.
struct DebugPause
{
    /// 1-based line of the user's source file.
    int line = 0;
    QList<PythonVariable> variables;

    /// Parses the bytes between the two marks of a pause record (docs/formats/pause-record.md).
    /// Nothing unless it is a JSON object with a whole number as its line; no variables when their
    /// list is not as expected.
    [[nodiscard]] static std::optional<DebugPause> fromRecord(QByteArrayView json);

    /// True for pauses on the same line with the same names in the same order. Ids, types and
    /// values are not compared.
    friend bool operator==(const DebugPause &a, const DebugPause &b);
};

} // namespace Korvane
