#include "mcp/RPCReader.h"

#include "base/Utf8.h"
#include "mcp/RPCReply.h"

#include <nlohmann/json.hpp>

#include <clocale>
#include <string>
#include <utility>

namespace Korvane {

namespace {

using Json = nlohmann::json;

QString decoded(const std::string &utf8)
{
    return Utf8::decodeLossy(QByteArrayView(utf8.data(), qsizetype(utf8.size())));
}

/// nlohmann::json reads and writes numbers with the decimal point of the current locale.
class PlainLocale final
{
public:
    PlainLocale()
    {
        static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
        m_before = uselocale(plain);
    }
    ~PlainLocale() { uselocale(m_before); }
    PlainLocale(const PlainLocale &) = delete;
    PlainLocale &operator=(const PlainLocale &) = delete;

private:
    locale_t m_before;
};

/// Implements the SAX interface of nlohmann::json: one call for each token.
class MessageReader final
{
public:
    explicit MessageReader(const std::function<void(RPCMessage)> &take)
        : m_take(take)
    {
    }

    [[nodiscard]] RPCBody body() const { return m_body; }

    bool null() { return other("null"); }
    bool boolean(bool value) { return other(value ? "true" : "false"); }
    bool number_integer(Json::number_integer_t value)
    {
        return number(QByteArray::number(qlonglong(value)), double(value));
    }
    bool number_unsigned(Json::number_unsigned_t value)
    {
        return number(QByteArray::number(qulonglong(value)), double(value));
    }
    bool number_float(double value, const std::string &digits)
    {
        return number(QByteArray::fromStdString(digits), value);
    }
    bool string(std::string &text);
    bool binary(Json::binary_t &) { return false; } // not in JSON
    bool key(std::string &name);
    bool start_object(size_t) { return open(Container::Object); }
    bool end_object() { return close('}'); }
    bool start_array(size_t) { return open(Container::Array); }
    bool end_array() { return close(']'); }
    bool parse_error(size_t, const std::string &, const Json::exception &) { return false; }

private:
    enum class Container { Object, Array };
    /// The containers whose content matters, each inside the one before it.
    enum class Place { Top, Batch, Message, Params, Arguments };
    enum class Member { Other, Id, Method, Params, Name, Arguments, Version, RequestId };

    bool number(const QByteArray &text, double value);
    bool other(QByteArrayView text);
    bool open(Container container);
    bool close(char bracket);
    [[nodiscard]] bool beginValue();
    void copy(QByteArrayView text);

    const std::function<void(RPCMessage)> &m_take;
    RPCBody m_body = RPCBody::NotJSON;
    Place m_place = Place::Top;
    Member m_member = Member::Other; // whose value is next, in a message or its params
    QString m_argument;              // the same in arguments
    qsizetype m_depth = 0;           // of the containers open inside m_place
    QByteArray *m_copy = nullptr;    // the id whose JSON is being copied
    RPCMessage m_message;
};

bool MessageReader::string(std::string &text)
{
    if (m_depth > 0) {
        if (m_copy)
            copy(RPCReply::quoted(text));
        return true;
    }
    if (!beginValue())
        return false;
    if (m_place == Place::Arguments)
        m_message.arguments.insert(m_argument, decoded(text));
    else if (m_copy)
        copy(RPCReply::quoted(text));
    else if (m_member == Member::Method)
        m_message.method = decoded(text);
    else if (m_member == Member::Name)
        m_message.toolName = decoded(text);
    else if (m_member == Member::Version)
        m_message.protocolVersion = decoded(text);
    m_copy = nullptr;
    return true;
}

bool MessageReader::number(const QByteArray &text, double value)
{
    if (m_depth > 0 || m_place != Place::Arguments)
        return other(text);
    m_message.arguments.insert(m_argument, value);
    return true;
}

bool MessageReader::other(QByteArrayView text)
{
    if (m_depth == 0 && !beginValue())
        return false;
    if (m_copy)
        copy(text);
    if (m_depth == 0)
        m_copy = nullptr;
    return true;
}

bool MessageReader::key(std::string &name)
{
    if (m_depth > 0) {
        if (m_copy) {
            copy(RPCReply::quoted(name));
            *m_copy += ':';
        }
        return true;
    }
    m_member = Member::Other;
    if (m_place == Place::Arguments) {
        m_argument = decoded(name);
    } else if (m_place == Place::Message) {
        if (name == "id")
            m_member = Member::Id;
        else if (name == "method")
            m_member = Member::Method;
        else if (name == "params")
            m_member = Member::Params;
    } else if (name == "name") {
        m_member = Member::Name;
    } else if (name == "arguments") {
        m_member = Member::Arguments;
    } else if (name == "protocolVersion") {
        m_member = Member::Version;
    } else if (name == "requestId") {
        m_member = Member::RequestId;
    }
    return true;
}

/// Clears the value of an earlier member of the same name, and determines whether the value has to
/// be copied. False for a value outside of any object or array, which is no message.
bool MessageReader::beginValue()
{
    switch (m_place) {
    case Place::Top:
        return false;
    case Place::Batch:
        m_body = RPCBody::Invalid;
        return true;
    case Place::Arguments:
        m_message.arguments.remove(m_argument);
        return true;
    case Place::Message:
    case Place::Params:
        break;
    }
    switch (m_member) {
    case Member::Id:
        m_message.isRequest = true;
        m_message.id.clear();
        m_copy = &m_message.id;
        break;
    case Member::RequestId:
        m_message.requestId.clear();
        m_copy = &m_message.requestId;
        break;
    case Member::Method:
        m_message.method.clear();
        break;
    case Member::Params:
        m_message.toolName.clear();
        m_message.arguments = {};
        m_message.protocolVersion.reset();
        m_message.requestId.clear();
        break;
    case Member::Name:
        m_message.toolName.clear();
        break;
    case Member::Arguments:
        m_message.arguments = {};
        break;
    case Member::Version:
        m_message.protocolVersion.reset();
        break;
    case Member::Other:
        break;
    }
    return true;
}

bool MessageReader::open(Container container)
{
    const bool isObject = container == Container::Object;
    if (m_depth == 0 && m_place == Place::Top) {
        m_body = isObject ? RPCBody::Message : RPCBody::Batch;
        m_place = isObject ? Place::Message : Place::Batch;
        return true;
    }
    if (m_depth == 0 && m_place == Place::Batch && isObject) {
        m_place = Place::Message;
        return true;
    }
    if (m_depth == 0) {
        (void)beginValue();
        if (isObject && (m_member == Member::Params || m_member == Member::Arguments)) {
            m_place = m_member == Member::Params ? Place::Params : Place::Arguments;
            m_member = Member::Other;
            return true;
        }
    }
    if (m_copy)
        copy(isObject ? "{" : "[");
    ++m_depth;
    return true;
}

bool MessageReader::close(char bracket)
{
    if (m_depth > 0) {
        if (m_copy)
            *m_copy += bracket;
        if (--m_depth == 0)
            m_copy = nullptr;
        return true;
    }
    m_member = Member::Other;
    switch (m_place) {
    case Place::Arguments:
        m_place = Place::Params;
        break;
    case Place::Params:
        m_place = Place::Message;
        break;
    case Place::Message:
        m_place = m_body == RPCBody::Message ? Place::Top : Place::Batch;
        if (m_body != RPCBody::Invalid)
            m_take(std::exchange(m_message, {}));
        break;
    case Place::Batch:
    case Place::Top:
        m_place = Place::Top;
        break;
    }
    return true;
}

/// Appends a token to the id, with a comma where one belongs.
void MessageReader::copy(QByteArrayView text)
{
    if (!m_copy->isEmpty() && !QByteArrayView("[{:").contains(m_copy->back()))
        *m_copy += ',';
    *m_copy += text;
}

} // namespace

RPCBody readMessages(QByteArrayView json, const std::function<void(RPCMessage)> &take)
{
    // nlohmann::json skips a byte-order mark and treats NUL as the end of the text.
    if (json.startsWith("\xef\xbb\xbf") || json.contains('\0'))
        return RPCBody::NotJSON;
    const PlainLocale plain;
    MessageReader reader(take);
    return Json::sax_parse(json.begin(), json.end(), &reader) ? reader.body() : RPCBody::NotJSON;
}

} // namespace Korvane
