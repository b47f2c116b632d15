#pragma once

#include "base/Records.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

/// The messages between Korvane and the driver program that runs in the Python child
/// (docs/formats/session-protocol.md).
namespace Korvane::SessionProtocol {

/// The program that answers the requests, passed to the interpreter unchanged.
[[nodiscard]] QByteArray driverProgram();

// A request is one line of JSON with its line end. There is none when a text contains a lone
// surrogate, which UTF-8 cannot encode.

/// Runs a whole file; an empty \p path means a document that was never saved. \p fresh empties
/// the namespace first.
[[nodiscard]] std::optional<QByteArray> execRequest(const QString &code, const QString &path,
                                                    bool fresh);
/// Evaluates an expression and prints its value, or runs statements. Tracebacks name \p path, or
/// "<shell>" when it is empty.
[[nodiscard]] std::optional<QByteArray> shellRequest(const QString &code,
                                                     const QString &path = QString());
/// Does nothing; the reply carries the variables, as every reply does.
[[nodiscard]] std::optional<QByteArray> variablesRequest();

/// The number of the question when \p body says that the program waits for input.
[[nodiscard]] std::optional<int> inputQuestion(const QByteArray &body);
/// Answers question \p number. An empty \p text is the end of the input; otherwise it is one line
/// or several, with their line ends. A lone surrogate becomes a question mark.
[[nodiscard]] QByteArray inputAnswer(int number, const QString &text);

/// Never fails: the result of a \p body that is not JSON is an error text, and a table of another
/// shape yields an empty one.
[[nodiscard]] RunResult parseReply(const QByteArray &body);

} // namespace Korvane::SessionProtocol
