#include "board/DebugPause.h"

#include "base/VariableRows.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace Korvane {

std::optional<DebugPause> DebugPause::fromRecord(QByteArrayView json)
{
    using Json = nlohmann::json;
    const Json record = Json::parse(json.begin(), json.end(), nullptr, false);
    if (!record.is_object())
        return std::nullopt;
    const auto line = record.find("line");
    if (line == record.end() || !line->is_number_integer())
        return std::nullopt;
    const bool fits = line->is_number_unsigned() ? std::in_range<int>(line->get<quint64>())
                                                 : std::in_range<int>(line->get<qint64>());
    if (!fits)
        return std::nullopt;

    DebugPause pause;
    pause.line = line->get<int>();
    if (const auto variables = record.find("vars"); variables != record.end())
        pause.variables = VariableRows::parse(*variables, VariableRows::boardKeys)
                              .value_or(QList<PythonVariable>());
    return pause;
}

bool operator==(const DebugPause &a, const DebugPause &b)
{
    return a.line == b.line
        && std::ranges::equal(a.variables, b.variables, {}, &PythonVariable::name,
                              &PythonVariable::name);
}

} // namespace Korvane
