// The JSON reader against another one.

#include "mcp/JSONChecker.h"
#include "mcp/JSONItems.h"
#include "mcp/JSONText.h"

#include <nlohmann/json.hpp>

#include <cstdlib>

using namespace Korvane;

namespace {

using Json = nlohmann::json;
using Verdict = JSONChecker::Verdict;

constexpr int comparedDepth = 64;
constexpr int numberOutOfRange = 406;

Verdict check(QByteArrayView text, qsizetype step)
{
    JSONChecker checker(text);
    auto verdict = Verdict::Unfinished;
    while (verdict == Verdict::Unfinished)
        verdict = checker.advance(step);
    return verdict;
}

void expect(bool isTrue)
{
    if (!isTrue)
        abort();
}

void compare(const JSONValue &value, const Json &other, int depth)
{
    if (depth == 0)
        return;
    switch (value.kind()) {
    case JSONValue::Kind::Object: {
        expect(other.is_object());
        std::map<std::string, JSONValue> members; // the later of two with one name
        for (JSONItems items(value); items.next();)
            members.insert_or_assign(items.name().string().toStdString(), items.value());
        expect(members.size() == other.size());
        for (const auto &[name, member] : members)
            compare(member, other.at(name), depth - 1);
        break;
    }
    case JSONValue::Kind::Array: {
        expect(other.is_array());
        size_t index = 0;
        for (JSONItems items(value); items.next(); ++index)
            compare(items.value(), other.at(index), depth - 1);
        expect(index == other.size());
        break;
    }
    case JSONValue::Kind::String: {
        expect(other.is_string() && value.string().toStdString() == other.get<std::string>());
        QByteArray written;
        appendJSONString(written, value.string());
        expect(Json::parse(written.begin(), written.end()) == other);
        break;
    }
    case JSONValue::Kind::Number:
        expect(other.is_number() && value.number() == other.get<double>());
        break;
    case JSONValue::Kind::Boolean:
        expect(other.is_boolean() && (value.text() == "true") == other.get<bool>());
        break;
    case JSONValue::Kind::Null:
        expect(other.is_null() && value.text() == "null");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(data), qsizetype(size));
    const Verdict verdict = check(text, qsizetype(size) + 1);
    for (const qsizetype step : {1, 5})
        expect(check(text, step) == verdict);

    if (verdict == Verdict::Malformed) {
        // What is in it means nothing, but nothing may be read outside it.
        for (JSONItems items{JSONValue(text)}; items.next();) {
            (void)items.name().string();
            (void)items.value().string();
            (void)items.value().number();
        }
    }
    // The other one passes over a byte-order mark, and takes a null byte for the end.
    if (text.startsWith("\xef\xbb\xbf") || text.contains('\0')) {
        expect(verdict == Verdict::Malformed);
        return 0;
    }
    try {
        const Json other = Json::parse(text.begin(), text.end());
        expect(verdict == Verdict::WellFormed);
        compare(JSONValue(text), other, comparedDepth);
    } catch (const Json::exception &problem) {
        // Numbers beyond a double are none for the other one.
        expect(verdict == Verdict::Malformed || problem.id == numberOutOfRange);
    }
    return 0;
}
