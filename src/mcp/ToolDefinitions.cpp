#include "mcp/ToolDefinitions.h"

#include "mcp/JSONText.h"

#include <QStringList>

#include <map>
#include <vector>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;

enum class Need { Optional, Required };

struct Property
{
    QLatin1StringView name;
    QLatin1StringView type;
    Need need;
    QString description; // none when empty
};

struct Definition
{
    QString name;
    QString description;
    std::vector<Property> properties = {};
};

std::vector<Definition> definitions()
{
    const auto string = "string"_L1;
    const auto number = "number"_L1;
    return {
        {u"device_status"_s,
         u"Connection state of the MicroPython device, the serial ports available, the directories "
         "being browsed, and the board's MicroPython version."_s},
        {u"connect_device"_s,
         u"Connect the IDE to a serial port. Omit the port to use the only one available."_s,
         {{"port"_L1, string, Need::Optional,
           u"Serial device path, e.g. /dev/tty.usbserial-201240"_s}}},
        {u"list_device_files"_s,
         u"List files and folders on the device. Defaults to the root directory."_s,
         {{"path"_L1, string, Need::Optional, u"Device directory, e.g. /lib"_s}}},
        {u"read_device_file"_s,
         u"Read a text file from the device."_s,
         {{"path"_L1, string, Need::Required, u"Absolute device path, e.g. /main.py"_s}}},
        {u"write_device_file"_s,
         u"Write a text file to the device, creating or replacing it. Unless the user has turned "
         "on auto-approval, this asks them to confirm first."_s,
         {{"path"_L1, string, Need::Required, u"Absolute device path, e.g. /main.py"_s},
          {"content"_L1, string, Need::Required, u"Complete file contents"_s}}},
        {u"delete_device_file"_s,
         u"Delete a file, or an empty directory, from the device. Asks the user to confirm."_s,
         {{"path"_L1, string, Need::Required, {}}}},
        {u"run_code"_s,
         u"Run MicroPython source on the device and return its output. Returns stdout and, if the "
         "code raised, the full traceback."_s,
         {{"code"_L1, string, Need::Required, u"MicroPython source to execute"_s},
          {"timeout"_L1, number, Need::Optional, u"Seconds to wait, default 10"_s}}},
        {u"run_file"_s,
         u"Run a file that is already on the device and return its output or traceback."_s,
         {{"path"_L1, string, Need::Required, {}},
          {"timeout"_L1, number, Need::Optional, u"Seconds to wait, default 30"_s}}},
        {u"soft_reset"_s,
         u"Soft-reset the board, clearing imported modules and running boot.py/main.py."_s},
        {u"open_in_editor"_s,
         u"Open text in a new IDE editor tab so the user can see it. Does not touch the device — "
         "use write_device_file to install it."_s,
         {{"name"_L1, string, Need::Required, u"Tab name, e.g. blink.py"_s},
          {"content"_L1, string, Need::Required, {}}}},
    };
}

QByteArray quoted(const QString &text)
{
    QByteArray json;
    appendJSONString(json, text);
    return json;
}

// All keys of all objects below are written in sorted order.

QByteArray toJSON(const Property &property)
{
    QByteArray json = "{";
    if (!property.description.isEmpty())
        json += R"("description":)" + quoted(property.description) + ',';
    return json + R"("type":)" + quoted(property.type) + '}';
}

QByteArray toJSON(const Definition &definition)
{
    std::map<QByteArray, QByteArray> properties;
    QByteArrayList required;
    for (const Property &property : definition.properties) {
        properties[quoted(property.name)] = toJSON(property);
        if (property.need == Need::Required)
            required << quoted(property.name);
    }
    QByteArrayList members;
    for (const auto &[name, value] : properties)
        members << name + ':' + value;

    QByteArray json = R"({"description":)" + quoted(definition.description)
        + R"(,"inputSchema":{"properties":{)" + members.join(',') + '}';
    if (!required.isEmpty())
        json += R"(,"required":[)" + required.join(',') + ']';
    return json + R"(,"type":"object"},"name":)" + quoted(definition.name) + '}';
}

} // namespace

QByteArray toolDefinitions()
{
    QByteArrayList tools;
    for (const Definition &definition : definitions())
        tools << toJSON(definition);
    return '[' + tools.join(',') + ']';
}

} // namespace Korvane
