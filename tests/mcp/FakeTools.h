#pragma once

#include "base/OneShot.h"
#include "mcp/ToolSet.h"

#include <list>

namespace Korvane {

/// Three tools without a board: "echo" answers with its arguments, "fail" with a failure, "wait"
/// once the test says so.
class FakeTools final : public ToolSet
{
public:
    QByteArray definitions() const override
    {
        ++definitionsCount;
        return definitionsText;
    }

    QCoro::Task<Result<QString>> call(QString name, ToolArguments arguments) override
    {
        calls += name;
        if (name == QStringLiteral("echo")) {
            const auto number = arguments.number(QStringLiteral("number"));
            co_return arguments.text(QStringLiteral("text")).value_or(QStringLiteral("no text"))
                + QStringLiteral(", ")
                + (number ? QString::number(*number) : QStringLiteral("no number"));
        }
        if (name == QStringLiteral("wait")) {
            OneShot<QString> &shot = m_waiting.emplace_back();
            const auto answer = co_await shot.wait();
            if (answer)
                co_return *answer;
            co_return Error{ErrorCode::Closed, QStringLiteral("closed")};
        }
        co_return Error{ErrorCode::Remote, QStringLiteral("Unknown tool: ") + name};
    }

    void deliver(const QString &answer)
    {
        for (OneShot<QString> &shot : m_waiting)
            shot.deliver(answer);
    }
    [[nodiscard]] size_t waiting() const { return m_waiting.size(); }

    QByteArray definitionsText = R"([{"name":"echo"}])";
    mutable int definitionsCount = 0;
    QStringList calls;

private:
    std::list<OneShot<QString>> m_waiting;
};

} // namespace Korvane
