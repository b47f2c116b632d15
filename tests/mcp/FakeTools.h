#pragma once

#include "base/OneShot.h"
#include "mcp/ToolSet.h"

#include <list>

namespace Korvane {

/// Two tools without a board: "echo" returns its arguments, "wait" the text of deliver(). Others
/// are unknown.
class FakeTools final : public ToolSet
{
public:
    QByteArray definitions() const override { return R"([{"name":"echo"}])"; }

    QCoro::Task<Result<QString>> call(QString name, ToolArguments arguments, CallStop stop) override
    {
        using namespace Qt::StringLiterals;
        calls += name;
        if (name == u"echo"_s) {
            const auto number = arguments.number(u"number"_s);
            co_return arguments.text(u"text"_s).value_or(u"no text"_s) + u", "_s
                + (number ? QString::number(*number) : u"no number"_s);
        }
        if (name != u"wait"_s)
            co_return Error{ErrorCode::Remote, u"Unknown tool: "_s + name};
        stops << stop;
        const auto answer = co_await waiting.emplace_back().wait();
        if (!answer)
            co_return Error{ErrorCode::Closed, u"closed"_s};
        co_return *answer;
    }

    void deliver(const QString &answer)
    {
        for (OneShot<QString> &shot : waiting)
            shot.deliver(answer);
    }

    QStringList calls;
    std::list<OneShot<QString>> waiting;
    QList<CallStop> stops; // of the calls of "wait"
};

} // namespace Korvane
