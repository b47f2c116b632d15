#pragma once

#include "base/Records.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>

/// The rows of the Variables table as programs write them, in JSON.
namespace Korvane::VariableRows {

/// The members in which a row has its texts.
struct Keys
{
    const char *name;
    const char *type;
    const char *value;
};

/// Short names, which a board uses to send fewer bytes.
inline constexpr Keys boardKeys{"n", "t", "v"};

/// The rows in order, with "?" for a text that is missing; nothing when \p rows is no list of
/// objects that hold strings only.
[[nodiscard]] std::optional<QList<PythonVariable>> parse(const nlohmann::json &rows,
                                                         const Keys &keys);

} // namespace Korvane::VariableRows
