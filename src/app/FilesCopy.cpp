#include "app/FilesCopy.h"

#include "app/ReplaceQuestion.h"
#include "base/DisplayPath.h"
#include "base/ShellSink.h"
#include "base/SystemError.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"
#include "board/DeviceListing.h"

#include <QFileInfo>

#include <cerrno>

namespace Korvane {

using namespace Qt::StringLiterals;

namespace {

QStringList paths(const CopyPlan &entries, const QString &folder)
{
    QStringList result;
    for (const CopyItem &item : entries.items)
        result << DeviceListing::join(folder, item.relativePath);
    return result;
}

} // namespace

BatchCopier::Batch FilesCopy::Plan::batchTo(const QString &folder) const
{
    BatchCopier::Batch batch;
    for (const CopyItem &item : entries.items) {
        const Source source = sources.value(item.relativePath.section(u'/', 0, 0));
        batch.add(item, DeviceListing::join(source.folder, item.relativePath),
                  DeviceListing::join(folder, item.relativePath), source.permitIndex);
    }
    return batch;
}

void FilesCopy::Plan::drop(const QStringList &relativePaths)
{
    const QSet<QString> dropped(relativePaths.cbegin(), relativePaths.cend());
    entries.items.removeIf(
        [&dropped](const CopyItem &item) { return dropped.contains(item.relativePath); });
}

FilesCopy::FilesCopy(Dependencies dependencies, QObject *parent)
    : QObject(parent)
    , m_dependencies(dependencies)
    , m_copier(m_dependencies.link, m_dependencies.files, m_dependencies.transfer,
               m_dependencies.shell)
{
    connect(&m_copier, &BatchCopier::localFilesChanged, this, &FilesCopy::localFilesChanged);
}

Async<void> FilesCopy::toDevice(QStringList paths, QString folder)
{
    if (paths.isEmpty())
        co_return Result<void>();
    const QString firstName = QFileInfo(paths.first()).fileName();
    if (!m_dependencies.link.connectionState().isConnected())
        co_return Error{ErrorCode::NotConnected,
                        u"Connect a device before copying %1."_s.arg(firstName)};
    if (const QString name = repeatedName(paths); !name.isEmpty())
        co_return Error{ErrorCode::File,
                        u"Two of the entries are named “%1”. Copy them one by one."_s.arg(name)};
    const auto life = m_life.watch();
    QStringList targets;
    for (const QString &path : std::as_const(paths))
        targets << DeviceListing::join(folder, QFileInfo(path).fileName());
    auto permits = co_await m_copier.permits(std::move(targets));
    if (!life)
        co_return DeviceError::closed();
    if (!permits)
        co_return permits.error();
    const std::function<Plan()> makePlan = [paths] { return planLocal(paths); };
    const auto plan = co_await m_background.run(makePlan);
    if (!plan)
        co_return DeviceError::closed();
    for (const QString &line : plan->entries.skippedLines())
        m_dependencies.shell.appendInfo(line);
    const auto found =
        co_await m_dependencies.operations.kindsOf(Korvane::paths(plan->entries, folder));
    if (!life)
        co_return DeviceError::closed();
    if (!found) {
        Error error = found.error();
        error.message.prepend(u"Could not copy %1: "_s.arg(firstName));
        co_return error;
    }
    const auto existing = collisions(*plan, folder, *found);
    if (!existing)
        co_return existing.error();
    const auto resolved = co_await resolve(*plan, *existing, u"in %1 on the device"_s.arg(folder));
    if (!life)
        co_return DeviceError::closed();
    if (!resolved)
        co_return resolved.error();
    auto batch = resolved->batchTo(folder);
    batch.targetName = folder;
    co_return co_await m_copier.send(std::move(batch), *std::move(permits));
}

Async<void> FilesCopy::fromDevice(QList<DeviceFileNode> nodes, QString folder)
{
    if (nodes.isEmpty())
        co_return Result<void>();
    if (!m_dependencies.link.connectionState().isConnected())
        co_return Error{ErrorCode::NotConnected,
                        u"Connect a device before copying %1."_s.arg(nodes.first().name)};
    const auto life = m_life.watch();
    Plan plan;
    plan.entries = planDeviceFolder(nodes);
    for (const DeviceFileNode &node : std::as_const(nodes))
        plan.sources.insert(node.name, {node.path.chopped(node.name.size() + 1), 0});
    const QStringList targets = Korvane::paths(plan.entries, folder);
    const std::function<QList<Kind>()> look = [targets] {
        QList<Kind> kinds;
        for (const QString &target : targets) {
            const QFileInfo entry(target);
            kinds << (entry.isDir()                             ? Kind::Folder
                          : entry.exists() || entry.isSymLink() ? Kind::File
                                                                : Kind::Missing);
        }
        return kinds;
    };
    const int connection = m_dependencies.link.connectionNumber();
    const auto found = co_await m_background.run(look);
    if (!found)
        co_return DeviceError::closed();
    const auto existing = collisions(plan, folder, *found);
    if (!existing)
        co_return existing.error();
    const auto resolved = co_await resolve(plan, *existing, u"in %1"_s.arg(displayPath(folder)));
    if (!life)
        co_return DeviceError::closed();
    if (!resolved)
        co_return resolved.error();
    if (connection != m_dependencies.link.connectionNumber())
        co_return DeviceError::boardReplaced();
    auto batch = resolved->batchTo(folder);
    batch.targetName = displayPath(folder);
    co_return co_await m_copier.receive(std::move(batch));
}

FilesCopy::Plan FilesCopy::planLocal(const QStringList &paths)
{
    Plan plan;
    for (const QString &path : paths) {
        const QFileInfo entry(path);
        const QString name = entry.fileName();
        plan.sources.insert(name, {entry.absolutePath(), plan.sources.size()});
        if (entry.isFile()) {
            plan.entries.items.append({name, false, entry.size()});
        } else if (entry.isDir()) {
            const CopyPlan below = planLocalFolder(path);
            plan.entries.items.append({name, true, 0});
            for (CopyItem item : below.items) {
                item.relativePath.prepend(name + u'/');
                plan.entries.items.append(std::move(item));
            }
            plan.entries.skipped += below.skipped;
        } else {
            plan.entries.skipped.append(
                {name, entry.exists() ? u"special files"_s : systemErrorText(ENOENT)});
        }
    }
    return plan;
}

Result<QStringList> FilesCopy::collisions(const Plan &plan, const QString &folder,
                                          const QList<Kind> &found)
{
    QStringList existing;
    for (qsizetype i = 0; i < found.size(); ++i) {
        const CopyItem &item = plan.entries.items[i];
        if (found[i] == Kind::Missing)
            continue;
        if ((found[i] == Kind::Folder) != item.isDirectory) {
            return Error{ErrorCode::File,
                         (item.isDirectory ? u"%1 is a file, and a folder of that name cannot be "
                                             "copied there."_s
                                           : u"%1 is a folder, and a file of that name cannot be "
                                             "copied there."_s)
                             .arg(DeviceListing::join(folder, item.relativePath))};
        }
        if (!item.isDirectory)
            existing << item.relativePath;
    }
    return existing;
}

Async<FilesCopy::Plan> FilesCopy::resolve(Plan plan, QStringList existing, QString where)
{
    const ReplaceAnswer answer = co_await askToReplace(m_dependencies.prompts, existing, where);
    if (answer == ReplaceAnswer::Cancel)
        co_return DeviceError::canceled(u"Copy canceled — nothing was changed."_s);
    if (answer == ReplaceAnswer::Skip)
        plan.drop(existing);
    co_return std::move(plan);
}

} // namespace Korvane
