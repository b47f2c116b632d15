#include "board/CopyPlan.h"

#include "base/NaturalOrder.h"

#include <QDir>
#include <QFileInfo>

namespace Korvane {

namespace {

struct LocalEntry
{
    QString name;
    bool isDirectory;
    QFileInfo info;
};

class LocalPlanner final
{
public:
    explicit LocalPlanner(const QString &folder)
        : m_realRoot(QFileInfo(folder).canonicalFilePath() + u'/')
    {
    }

    CopyPlan plan(const QString &folder)
    {
        add(folder, QString());
        return std::move(m_plan);
    }

private:
    void add(const QString &folder, const QString &prefix)
    {
        QList<LocalEntry> entries;
        const auto infos = QDir(folder).entryInfoList(
            QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted);
        for (const QFileInfo &info : infos)
            entries.append({info.fileName(), info.isDir() && !info.isSymLink(), info});
        m_order.sortFoldersFirst(entries);

        for (const LocalEntry &entry : entries) {
            const QString relative = prefix + entry.name;
            if (entry.isDirectory) {
                m_plan.items.append({relative, true, 0});
                add(entry.info.filePath(), relative + u'/');
            } else if (isFileOfThisFolder(entry.info)) {
                m_plan.items.append({relative, false, entry.info.size()});
            } else {
                m_plan.skipped.append(relative);
            }
        }
    }

    [[nodiscard]] bool isFileOfThisFolder(const QFileInfo &info) const
    {
        return info.isFile()
            && (!info.isSymLink() || info.canonicalFilePath().startsWith(m_realRoot));
    }

    QString m_realRoot;
    NaturalOrder m_order;
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
