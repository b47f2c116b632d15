#include "base/VariableRows.h"

#include "base/Utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace Korvane::VariableRows {

namespace {

using Json = nlohmann::json;

bool isObjectOfStrings(const Json &row)
{
    return row.is_object()
        && std::ranges::all_of(row, [](const Json &member) { return member.is_string(); });
}

QString text(const Json &row, const char *key)
{
    const auto found = row.find(key);
    if (found == row.end())
        return QStringLiteral("?");
    return Utf8::decodeLossy(found->get_ref<const std::string &>());
}

} // namespace

std::optional<QList<PythonVariable>> parse(const Json &rows, const Keys &keys)
{
    if (!rows.is_array() || !std::ranges::all_of(rows, isObjectOfStrings))
        return std::nullopt;
    QList<PythonVariable> variables;
    variables.reserve(static_cast<qsizetype>(rows.size()));
    for (const Json &row : rows)
        variables.append({text(row, keys.name), text(row, keys.type), text(row, keys.value)});
    return variables;
}

} // namespace Korvane::VariableRows
