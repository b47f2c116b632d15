#include "mcp/HTTPRequestParser.h"

#include <QString>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

namespace Korvane {

namespace {

constexpr std::string_view headEnd = "\r\n\r\n";
// The memory of a larger buffer is released when it is empty.
constexpr qsizetype keptCapacityBytes = qsizetype{64} * 1024;

bool isAscii(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char c) { return static_cast<signed char>(c) >= 0; });
}

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

QByteArray bytes(std::string_view text)
{
    return QByteArray(text.data(), qsizetype(text.size()));
}

QByteArray lowerCased(std::string_view name)
{
    QByteArray result = bytes(name);
    if (!isAscii(result))
        return QString::fromUtf8(result).toLower().toUtf8();
    for (char &c : result) {
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    }
    return result;
}

std::string_view takeToken(std::string_view &line)
{
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    const auto token = line.substr(0, line.find(' '));
    line.remove_prefix(token.size());
    return token;
}

/// The value of a Content-Length header: 0 when it is not a number, -1 when it is out of bounds.
qsizetype bodyLength(std::string_view value)
{
    if (value.starts_with('+')) {
        value.remove_prefix(1);
        if (value.starts_with('-'))
            return 0;
    }
    qint64 length = 0;
    const auto [end, problem] = std::from_chars(value.begin(), value.end(), length);
    if (end != value.end() || problem == std::errc::invalid_argument)
        return 0;
    if (problem != std::errc() || length < 0 || length > HTTPRequestParser::maxBodyBytes)
        return -1;
    return qsizetype(length);
}

} // namespace

HTTPRequestParser::HTTPRequestParser(HeadCheck isAuthorized)
    : m_isAuthorized(std::move(isAuthorized))
{
}

void HTTPRequestParser::append(QByteArrayView bytes)
{
    if (m_isRefusing)
        return;
    if (m_bodyLeft > 0) {
        const auto part = bytes.first(std::min(m_bodyLeft, bytes.size()));
        takeBody(part);
        bytes = bytes.sliced(part.size());
    }
    if (bytes.isEmpty())
        return;
    if (m_start > 0) {
        m_buffer.remove(0, m_start);
        m_start = 0;
    }
    m_buffer.append(bytes);
}

std::optional<HTTPRequest> HTTPRequestParser::next()
{
    if (m_isRefusing || (!m_hasHead && !readHead()) || m_bodyLeft > 0)
        return std::nullopt;
    m_hasHead = false;
    return std::exchange(m_request, {});
}

bool HTTPRequestParser::readHead()
{
    const auto rest = QByteArrayView(m_buffer).sliced(m_start);
    // The end must begin within the bound, so the rest is not searched.
    const auto searchable = std::string_view(
        rest.data(), size_t(std::min(rest.size(), maxHeadBytes + qsizetype(headEnd.size()))));
    const auto end = searchable.find(headEnd, size_t(m_searched));
    if (end == std::string_view::npos) {
        if (rest.size() >= maxHeadBytes + qsizetype(headEnd.size()))
            refuse();
        else
            m_searched = std::max<qsizetype>(0, rest.size() - qsizetype(headEnd.size()) + 1);
        return false;
    }
    if (!parseHead(rest.first(qsizetype(end))))
        return false;

    m_hasHead = true;
    m_isBodyKept = !m_isAuthorized || m_isAuthorized(m_request);
    m_hasSeenAuthorized = m_hasSeenAuthorized || m_isBodyKept;
    if (!m_isBodyKept)
        m_request.headers.clear(); // a map of thousands of short headers holds megabytes
    const auto afterHead = rest.sliced(qsizetype(end) + qsizetype(headEnd.size()));
    const auto part = afterHead.first(std::min(m_bodyLeft, afterHead.size()));
    takeBody(part);
    m_start = m_buffer.size() - (afterHead.size() - part.size());
    m_searched = 0;
    if (m_start == m_buffer.size())
        discard();
    return true;
}

/// Fills m_request and m_bodyLeft. False when it was not a valid head; all bytes are dropped then.
bool HTTPRequestParser::parseHead(QByteArrayView head)
{
    if (!head.isValidUtf8()) {
        discard();
        return false;
    }
    std::string_view rest(head.data(), size_t(head.size()));
    std::string_view requestLine = rest.substr(0, rest.find("\r\n"));
    const auto method = takeToken(requestLine);
    const auto path = takeToken(requestLine);
    if (path.empty()) {
        discard();
        return false;
    }
    m_request.method = bytes(method);
    m_request.path = bytes(path);

    m_bodyLeft = 0;
    while (!rest.empty()) {
        const auto line = rest.substr(0, rest.find("\r\n"));
        rest.remove_prefix(std::min(line.size() + 2, rest.size()));
        const auto colon = line.find(':');
        if (colon != std::string_view::npos)
            m_request.headers.insert_or_assign(lowerCased(trimmed(line.substr(0, colon))),
                                               bytes(trimmed(line.substr(colon + 1))));
    }
    static const QByteArray lengthHeader = QByteArrayLiteral("content-length");
    if (const auto length = m_request.headers.find(lengthHeader);
        length != m_request.headers.end()) {
        m_bodyLeft =
            bodyLength(std::string_view(length->second.constData(), size_t(length->second.size())));
        if (m_bodyLeft < 0) {
            refuse();
            return false;
        }
    }
    return true;
}

void HTTPRequestParser::takeBody(QByteArrayView bytes)
{
    // The length that a head announces is not reserved: it may be wrong.
    if (m_isBodyKept)
        m_request.body.append(bytes);
    m_bodyLeft -= bytes.size();
}

void HTTPRequestParser::discard()
{
    if (m_buffer.capacity() > keptCapacityBytes)
        m_buffer = QByteArray();
    else
        m_buffer.resize(0);
    m_start = 0;
    m_searched = 0;
}

void HTTPRequestParser::refuse()
{
    m_isRefusing = true;
    m_bodyLeft = 0;
    m_request = {};
    m_buffer = QByteArray();
}

} // namespace Korvane
