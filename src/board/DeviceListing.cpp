#include "board/DeviceListing.h"

#include "base/NaturalOrder.h"
#include "board/BoardScripts.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace Korvane::DeviceListing {

namespace {

using nlohmann::json;

/// Deeper than any board's file system. Without a limit, a malicious reply could exhaust the stack.
constexpr int deepestLevel = 200;

bool isArrayOfObjects(const json &value)
{
    return value.is_array()
        && std::all_of(value.begin(), value.end(), [](const json &e) { return e.is_object(); });
}

QString text(const json &value)
{
    const auto &utf8 = value.get_ref<const std::string &>();
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// A name is joined to local folders too, when the entry is copied: it must not lead out of them.
bool isUsableName(const QString &name)
{
    return !name.isEmpty() && name != u"." && name != u".." && !name.contains(u'/')
        && !name.contains(QChar::Null);
}

QList<DeviceFileNode> build(const json &entries, const NaturalOrder &order, int level)
{
    QList<DeviceFileNode> nodes;
    nodes.reserve(static_cast<qsizetype>(entries.size()));
    for (const json &entry : entries) {
        const auto name = entry.find("n");
        const auto path = entry.find("p");
        const auto directory = entry.find("d");
        if (name == entry.end() || !name->is_string() || path == entry.end() || !path->is_string()
            || directory == entry.end() || !directory->is_boolean())
            continue;
        DeviceFileNode node;
        node.name = text(*name);
        node.path = text(*path);
        node.isDirectory = directory->get<bool>();
        if (!isUsableName(node.name))
            continue;
        if (const auto size = entry.find("s"); size != entry.end() && size->is_number_integer())
            node.size = size->get<qint64>();
        if (const auto children = entry.find("c");
            children != entry.end() && level < deepestLevel && isArrayOfObjects(*children))
            node.children = build(*children, order, level + 1);
        nodes.append(std::move(node));
    }
    order.sortFoldersFirst(nodes);
    return nodes;
}

} // namespace

std::optional<QList<DeviceFileNode>> parse(const QString &output)
{
    const auto listing = BoardScripts::textAfter(output, QLatin1StringView("__LS__"));
    if (!listing)
        return std::nullopt;
    const QByteArray utf8 = listing->trimmed().toUtf8();
    const json entries = json::parse(utf8.begin(), utf8.end(), nullptr, false);
    if (!isArrayOfObjects(entries))
        return std::nullopt;
    return build(entries, NaturalOrder(), 0);
}

const QList<DeviceFileNode> *children(const QList<DeviceFileNode> &nodes, const QString &path)
{
    static const QList<DeviceFileNode> none;
    const QList<DeviceFileNode> *level = &nodes;
    QString prefix;
    for (const QString &piece : path.split(u'/', Qt::SkipEmptyParts)) {
        prefix += u'/' + piece;
        const auto folder =
            std::find_if(level->begin(), level->end(), [&prefix](const DeviceFileNode &node) {
                return node.isDirectory && node.path == prefix;
            });
        if (folder == level->end())
            return nullptr;
        const auto &children = folder->children;
        level = children ? &*children : &none;
    }
    return level;
}

const DeviceFileNode *find(const QList<DeviceFileNode> &nodes, const QString &path)
{
    for (const DeviceFileNode &node : nodes) {
        if (node.path == path)
            return &node;
        if (!node.children)
            continue;
        if (const DeviceFileNode *below = find(*node.children, path))
            return below;
    }
    return nullptr;
}

QString join(const QString &folder, const QString &name)
{
    return folder == u"/" ? u'/' + name : folder + u'/' + name;
}

} // namespace Korvane::DeviceListing
