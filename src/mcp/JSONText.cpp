#include "mcp/JSONText.h"

namespace Korvane {

QByteArrayView withoutLeadingSpace(QByteArrayView json)
{
    qsizetype start = 0;
    while (start < json.size() && isJSONSpace(json[start]))
        ++start;
    return json.sliced(start);
}

QByteArrayView innerText(QByteArrayView json)
{
    return json.size() < 2 ? QByteArrayView() : json.sliced(1, json.size() - 2);
}

void appendJSONString(QByteArray &json, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    json.reserve(json.size() + bytes.size() + bytes.size() / 16 + 2);
    json += '"';
    for (const char c : bytes) {
        switch (c) {
        case '"':
            json += "\\\"";
            break;
        case '\\':
            json += "\\\\";
            break;
        case '\n':
            json += "\\n";
            break;
        case '\r':
            json += "\\r";
            break;
        case '\t':
            json += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                static constexpr char digits[] = "0123456789abcdef";
                json += "\\u00";
                json += digits[c >> 4];
                json += digits[c & 15];
            } else {
                json += c;
            }
        }
    }
    json += '"';
}

} // namespace Korvane
