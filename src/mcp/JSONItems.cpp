#include "mcp/JSONItems.h"

#include "mcp/JSONText.h"

namespace Korvane {

JSONItems::JSONItems(const JSONValue &container)
    : m_rest(innerText(container.text()))
    , m_hasNames(container.isObject())
    , m_name(QByteArrayView())
    , m_value(QByteArrayView())
{
    if (!m_hasNames && container.kind() != JSONValue::Kind::Array)
        m_rest = {};
}

bool JSONItems::next()
{
    m_rest = withoutLeadingSpace(m_rest);
    if (m_rest.isEmpty())
        return false;
    if (m_hasNames)
        m_name = take();
    m_value = take();
    return true;
}

/// Takes one value and the comma or colon behind it.
JSONValue JSONItems::take()
{
    const JSONValue value(m_rest);
    m_rest = withoutLeadingSpace(m_rest.sliced(value.text().end() - m_rest.begin()));
    if (!m_rest.isEmpty())
        m_rest = m_rest.sliced(1);
    return value;
}

} // namespace Korvane
