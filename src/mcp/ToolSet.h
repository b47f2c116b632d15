#pragma once

#include "base/CallStop.h"
#include "base/Result.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QString>

#include <optional>
#include <variant>

namespace Korvane {

/// The arguments of one tool call: those that are strings or numbers.
class ToolArguments final
{
public:
    void insert(const QString &name, const QString &text) { m_values.insert(name, text); }
    void insert(const QString &name, double number) { m_values.insert(name, number); }
    void remove(const QString &name) { m_values.remove(name); }

    [[nodiscard]] std::optional<QString> text(const QString &name) const
    {
        return get<QString>(name);
    }
    [[nodiscard]] std::optional<double> number(const QString &name) const
    {
        return get<double>(name);
    }

private:
    template <typename T> std::optional<T> get(const QString &name) const
    {
        const auto found = m_values.constFind(name);
        const T *const value = found == m_values.cend() ? nullptr : std::get_if<T>(&*found);
        return value ? std::optional(*value) : std::nullopt;
    }

    QHash<QString, std::variant<QString, double>> m_values;
};

/// The tools that an assistant can call. Main thread only.
class ToolSet
{
public:
    virtual ~ToolSet() = default;

    /// The definitions of all tools: a JSON array in UTF-8, its objects' keys sorted.
    [[nodiscard]] virtual QByteArray definitions() const = 0;

    /// The text with which the tool answers, or why it failed. Several calls may be under way at
    /// once. When this object is destroyed, they must end at once (`ErrorCode::Closed`).
    [[nodiscard]] virtual QCoro::Task<Result<QString>> call(QString name, ToolArguments arguments,
                                                            CallStop stop) = 0;
};

} // namespace Korvane
