#pragma once

#include "mcp/JSONValue.h"

namespace Korvane {

/// Goes through the elements of an array or the members of an object, in their order, in time
/// linear in the text. Anything else has none.
class JSONItems final
{
public:
    explicit JSONItems(const JSONValue &container);

    /// Goes on to the next item, the first one to begin with. False when there is none.
    [[nodiscard]] bool next();

    /// Of a member: a string.
    [[nodiscard]] const JSONValue &name() const { return m_name; }
    [[nodiscard]] const JSONValue &value() const { return m_value; }

private:
    [[nodiscard]] JSONValue take();

    QByteArrayView m_rest; // behind the item, up to the end of the container
    bool m_hasNames;
    JSONValue m_name;
    JSONValue m_value;
};

} // namespace Korvane
