#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

/// Bytes literals of Python, which every MicroPython can read and print, also one without
/// `binascii`.
namespace Korvane::PythonLiteral {

/// \p bytes as a bytes literal in printable ASCII: b'...'.
[[nodiscard]] QByteArray fromBytes(QByteArrayView bytes);
/// The bytes of a literal that `repr` printed, in single or double quotes; nothing when \p literal
/// is not one, for example because it was cut off.
[[nodiscard]] std::optional<QByteArray> toBytes(QByteArrayView literal);

} // namespace Korvane::PythonLiteral
