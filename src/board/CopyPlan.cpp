#include "board/CopyPlan.h"

#include "base/LocalFolder.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>

#include <algorithm>

namespace Korvane {

namespace {

class LocalPlanner final
{
public:
    explicit LocalPlanner(const QString &folder)
        : m_realRoot(QFileInfo(folder).canonicalFilePath() + u'/')
    {
    }

    CopyPlan plan(const QString &folder)
    {
        if (const auto entries = LocalFolder::entries(folder))
            add(*entries, QString());
        else
            skip(QDir(folder).dirName(), entries.error().message);
        return std::move(m_plan);
    }

private:
    void add(const QList<LocalFolder::Entry> &entries, const QString &prefix)
    {
        for (const LocalFolder::Entry &entry : entries) {
            const QString relative = prefix + entry.name;
            if (entry.path.isEmpty())
                skip(relative, QStringLiteral("names that are not UTF-8"));
            else if (entry.isDirectory && !entry.isLink)
                addFolder(entry.path, relative);
            else if (const QFileInfo info(entry.path); isFileOfThisFolder(info))
                m_plan.items.append({relative, false, info.size()});
            else
                skip(relative,
                     QStringLiteral("links to folders, links out of the folder and special files"));
        }
    }

    void addFolder(const QString &path, const QString &relative)
    {
        const auto entries = LocalFolder::entries(path);
        if (!entries) {
            skip(relative, entries.error().message);
            return;
        }
        m_plan.items.append({relative, true, 0});
        add(*entries, relative + u'/');
    }

    void skip(const QString &relative, const QString &reason)
    {
        m_plan.skipped.append({relative, reason});
    }

    [[nodiscard]] bool isFileOfThisFolder(const QFileInfo &info) const
    {
        return info.isFile()
            && (!info.isSymLink() || info.canonicalFilePath().startsWith(m_realRoot));
    }

    QString m_realRoot;
    CopyPlan m_plan;
};

void addNodes(CopyPlan &plan, const QList<DeviceFileNode> &nodes, const QString &prefix)
{
    for (const DeviceFileNode &node : nodes) {
        const QString relative = prefix + node.name;
        plan.items.append({relative, node.isDirectory, node.isDirectory ? 0 : node.size});
        if (node.isDirectory && node.children)
            addNodes(plan, *node.children, relative + u'/');
    }
}

} // namespace

QList<CopyItem> CopyPlan::files() const
{
    QList<CopyItem> files;
    for (const CopyItem &item : items) {
        if (!item.isDirectory)
            files.append(item);
    }
    return files;
}

qint64 CopyPlan::totalSize() const
{
    qint64 total = 0;
    for (const CopyItem &item : items)
        total += item.size;
    return total;
}

QStringList CopyPlan::skippedLines() const
{
    QMap<QString, QStringList> pathsByReason;
    for (const Skipped &entry : skipped)
        pathsByReason[entry.reason] << entry.relativePath;
    QStringList lines;
    for (auto group = pathsByReason.cbegin(); group != pathsByReason.cend(); ++group) {
        const QStringList named = group->first(std::min<qsizetype>(5, group->size()));
        QString line =
            QStringLiteral("Not copied (%1): ").arg(group.key()) + named.join(QStringLiteral(", "));
        if (group->size() > named.size())
            line += QStringLiteral(" and %1 more").arg(group->size() - named.size());
        lines << line + u'.';
    }
    return lines;
}

CopyPlan planLocalFolder(const QString &folder)
{
    return LocalPlanner(folder).plan(folder);
}

CopyPlan planDeviceFolder(const QList<DeviceFileNode> &nodes)
{
    CopyPlan plan;
    addNodes(plan, nodes, QString());
    return plan;
}

} // namespace Korvane
