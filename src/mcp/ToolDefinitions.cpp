#include "mcp/ToolDefinitions.h"

#include <QString>

#include <nlohmann/json.hpp>

#include <utility>
#include <vector>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;
using Json = nlohmann::json; // an object is a std::map: its keys are sorted

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

Json toJSON(const Property &property)
{
    Json json = {{"type", property.type.data()}};
    if (!property.description.isEmpty())
        json["description"] = property.description.toStdString();
    return json;
}

Json toJSON(const Definition &definition)
{
    Json properties = Json::object();
    Json required = Json::array();
    for (const Property &property : definition.properties) {
        properties[property.name.data()] = toJSON(property);
        if (property.need == Need::Required)
            required.push_back(property.name.data());
    }
    Json schema = {{"type", "object"}, {"properties", std::move(properties)}};
    if (!required.empty())
        schema["required"] = std::move(required);
    return {{"name", definition.name.toStdString()},
            {"description", definition.description.toStdString()},
            {"inputSchema", std::move(schema)}};
}

} // namespace

QByteArray toolDefinitions()
{
    Json tools = Json::array();
    for (const Definition &definition : definitions())
        tools.push_back(toJSON(definition));
    return QByteArray::fromStdString(tools.dump());
}

} // namespace Korvane
