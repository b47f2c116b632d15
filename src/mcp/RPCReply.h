#pragma once

#include <QByteArray>
#include <QString>

#include <string>

/// The replies to JSON-RPC messages, as JSON without white space, the keys of all objects sorted.
/// An \p id is JSON. Thread-safe.
namespace Korvane::RPCReply {

/// \p utf8 as a JSON string. Invalid UTF-8 is replaced by U+FFFD.
[[nodiscard]] QByteArray quoted(const std::string &utf8);

/// \p result is JSON.
[[nodiscard]] QByteArray success(const QByteArray &id, const QByteArray &result);
[[nodiscard]] QByteArray failure(const QByteArray &id, int code, const QString &message);
[[nodiscard]] QByteArray toolResult(const QByteArray &id, const QString &text, bool isError);
/// The result of `initialize`.
[[nodiscard]] QByteArray initializeResult(const QString &protocolVersion);

} // namespace Korvane::RPCReply
