#pragma once

#include "base/Records.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>

/// The rows of the Variables table as the session driver and the board's programs write them, in
/// JSON.
namespace Korvane::VariableRows {

/// The names of the members that hold the texts of a row.
struct Keys
{
    const char *name;
    const char *type;
    const char *value;
};

/// Short names, which a board uses to send fewer bytes.
inline constexpr Keys boardKeys{"n", "t", "v"};

/// The rows in order, with "?" for a text that is missing; nothing when \p rows is not an array of
/// objects whose members are all strings.
[[nodiscard]] std::optional<QList<PythonVariable>> parse(const nlohmann::json &rows,
                                                         const Keys &keys);

} // namespace Korvane::VariableRows
