#include "debugger/DebugPause.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

using Json = nlohmann::json;

/// The member \p key of \p object, which holds strings only; "?" when it is missing.
QString member(const Json &object, const char *key)
{
    const auto found = object.find(key);
    if (found == object.end())
        return QStringLiteral("?");
    return QString::fromStdString(found->get_ref<const std::string &>());
}

bool isObjectOfStrings(const Json &value)
{
    return value.is_object()
        && std::ranges::all_of(value, [](const Json &item) { return item.is_string(); });
}

QList<PythonVariable> variablesFrom(const Json &list)
{
    if (!list.is_array() || !std::ranges::all_of(list, isObjectOfStrings))
        return {};
    QList<PythonVariable> variables;
    variables.reserve(static_cast<qsizetype>(list.size()));
    for (const Json &row : list)
        variables.append(
            {.name = member(row, "n"), .type = member(row, "t"), .value = member(row, "v")});
    return variables;
}

} // namespace

std::optional<DebugPause> DebugPause::fromRecord(QByteArrayView json)
{
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
        pause.variables = variablesFrom(*variables);
    return pause;
}

bool operator==(const DebugPause &a, const DebugPause &b)
{
    return a.line == b.line
        && std::ranges::equal(a.variables, b.variables, {}, &PythonVariable::name,
                              &PythonVariable::name);
}

} // namespace Korvane
