#include "board/PythonLiteral.h"

namespace Korvane::PythonLiteral {

namespace {

constexpr bool isPrintable(uchar byte)
{
    return byte >= 0x20 && byte < 0x7F;
}

} // namespace

QByteArray fromBytes(QByteArrayView bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    QByteArray literal = "b'";
    literal.reserve(bytes.size() + 3);
    for (const char character : bytes) {
        const auto byte = static_cast<uchar>(character);
        if (byte == '\\' || byte == '\'') {
            literal += '\\';
            literal += character;
        } else if (isPrintable(byte)) {
            literal += character;
        } else if (byte == '\n') {
            literal += "\\n";
        } else if (byte == '\r') {
            literal += "\\r";
        } else if (byte == '\t') {
            literal += "\\t";
        } else {
            literal += "\\x";
            literal += digits[byte >> 4];
            literal += digits[byte & 0xF];
        }
    }
    return literal + '\'';
}

std::optional<QByteArray> toBytes(QByteArrayView literal)
{
    if (literal.size() < 3 || literal[0] != 'b' || (literal[1] != '\'' && literal[1] != '"')
        || literal.back() != literal[1])
        return std::nullopt;
    const QByteArrayView body = literal.sliced(2, literal.size() - 3);
    QByteArray bytes;
    bytes.reserve(body.size());
    for (qsizetype i = 0; i < body.size(); ++i) {
        if (body[i] == literal[1])
            return std::nullopt;
        if (body[i] != '\\') {
            bytes += body[i];
            continue;
        }
        if (++i == body.size())
            return std::nullopt;
        switch (body[i]) {
        case 'n':
            bytes += '\n';
            break;
        case 'r':
            bytes += '\r';
            break;
        case 't':
            bytes += '\t';
            break;
        case '\\':
        case '\'':
        case '"':
            bytes += body[i];
            break;
        case 'x': {
            bool isNumber = false;
            const QByteArrayView digits =
                body.sliced(i + 1).first(std::min<qsizetype>(2, body.size() - i - 1));
            const uint value = digits.toUInt(&isNumber, 16);
            if (digits.size() != 2 || !isNumber)
                return std::nullopt;
            bytes += static_cast<char>(value);
            i += 2;
            break;
        }
        default:
            return std::nullopt;
        }
    }
    return bytes;
}

} // namespace Korvane::PythonLiteral
