// The reader of JSON-RPC messages against the library's tree.

#include "mcp/RPCReader.h"

#include <nlohmann/json.hpp>

#include <cstdlib>

using namespace Korvane;

namespace {

using Json = nlohmann::json;

void expect(bool isTrue)
{
    if (!isTrue)
        abort();
}

std::string text(const Json &object, const char *name)
{
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

Json inner(const Json &object, const char *name)
{
    const auto found = object.find(name);
    return found != object.end() && found->is_object() ? *found : Json::object();
}

bool isEqual(const QByteArray &json, const Json &object, const char *name)
{
    const auto found = object.find(name);
    return found == object.end() ? json.isEmpty() : Json::parse(json.begin(), json.end()) == *found;
}

void compare(const RPCMessage &message, const Json &other)
{
    expect(message.isRequest == other.contains("id"));
    expect(isEqual(message.id, other, "id"));
    expect(message.method.toStdString() == text(other, "method"));
    const Json params = inner(other, "params");
    expect(message.toolName.toStdString() == text(params, "name"));
    expect(isEqual(message.requestId, params, "requestId"));
    expect(message.protocolVersion.value_or(QString()).toStdString()
           == text(params, "protocolVersion"));
    const Json arguments = inner(params, "arguments");
    for (const auto &[name, value] : arguments.items()) {
        const QString key = QString::fromStdString(name);
        if (key.toStdString() != name)
            continue; // a byte-order mark
        const auto string = message.arguments.text(key);
        const auto number = message.arguments.number(key);
        expect(string.has_value() == value.is_string() && number.has_value() == value.is_number());
        expect(!string || string->toStdString() == value.get<std::string>());
        expect(!number || *number == value.get<double>());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), qsizetype(size));
    std::vector<RPCMessage> messages;
    const RPCBody kind =
        readMessages(body, [&](RPCMessage message) { messages.push_back(std::move(message)); });

    // The library skips a byte-order mark, and takes NUL for the end.
    if (body.startsWith("\xef\xbb\xbf") || body.contains('\0')) {
        expect(kind == RPCBody::NotJSON);
        return 0;
    }
    const Json other = Json::parse(body.begin(), body.end(), nullptr, false);
    if (other.is_discarded() || !other.is_structured()) {
        expect(kind == RPCBody::NotJSON);
    } else if (other.is_object()) {
        expect(kind == RPCBody::Message && messages.size() == 1);
        compare(messages[0], other);
    } else if (std::any_of(other.begin(), other.end(),
                           [](const Json &element) { return !element.is_object(); })) {
        expect(kind == RPCBody::Invalid);
    } else {
        expect(kind == RPCBody::Batch && messages.size() == other.size());
        for (size_t i = 0; i < messages.size(); ++i)
            compare(messages[i], other[i]);
    }
    return 0;
}
