#include "mcp/RPCReply.h"

#include <nlohmann/json.hpp>

namespace Korvane::RPCReply {

namespace {

using Json = nlohmann::json; // an object is a std::map: its keys are sorted

QByteArray written(const Json &value)
{
    return QByteArray::fromStdString(value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

} // namespace

QByteArray quoted(const std::string &utf8)
{
    return written(utf8);
}

QByteArray success(const QByteArray &id, const QByteArray &result)
{
    return R"({"id":)" + id + R"(,"jsonrpc":"2.0","result":)" + result + '}';
}

QByteArray failure(const QByteArray &id, int code, const QString &message)
{
    const Json error = {{"code", code}, {"message", message.toStdString()}};
    return R"({"error":)" + written(error) + R"(,"id":)" + id + R"(,"jsonrpc":"2.0"})";
}

QByteArray toolResult(const QByteArray &id, const QString &text, bool isError)
{
    const Json content = {{"text", text.toStdString()}, {"type", "text"}};
    return success(id, written({{"content", Json::array({content})}, {"isError", isError}}));
}

QByteArray initializeResult(const QString &protocolVersion)
{
    return written({
        {"capabilities", {{"tools", {{"listChanged", false}}}}},
        {"protocolVersion", protocolVersion.toStdString()},
        {"serverInfo", {{"name", "korvane"}, {"version", KORVANE_VERSION}}},
    });
}

} // namespace Korvane::RPCReply
