#include "board/DeviceFileOperations.h"

#include "base/PythonResource.h"
#include "board/BoardScripts.h"
#include "board/DeviceError.h"
#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"

#include <chrono>
#include <optional>
#include <utility>

namespace Korvane {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using BoardScripts::pathLiteral;
using BoardScripts::textAfter;

constexpr auto quickTimeout = 5s;
constexpr auto treeTimeout = 15s;
/// Entries deleted by one command: few enough for its time-out on slow flash; the operation can be
/// canceled between two commands.
constexpr int entriesPerCommand = 32;
/// Characters of path literals in one command, for boards with small heaps.
constexpr qsizetype literalsPerCommand = 1000;

QString script(QLatin1StringView name)
{
    const QByteArray path = "board/scripts/files/" + QByteArray(name.data(), name.size()) + ".py";
    return pythonResource(QLatin1StringView(path));
}

/// The two numbers at the start of \p answer.
std::optional<std::pair<qint64, qint64>> numbersIn(const QString &answer)
{
    bool isFirst = false;
    bool isSecond = false;
    const qint64 first = answer.section(u' ', 0, 0).toLongLong(&isFirst);
    const qint64 second = answer.section(u' ', 1, 1).trimmed().toLongLong(&isSecond);
    if (!isFirst || !isSecond)
        return std::nullopt;
    return std::pair(first, second);
}

Error unexpected(const QString &output)
{
    return {ErrorCode::Remote, u"the board answered “%1”"_s.arg(output.trimmed())};
}

} // namespace

bool isUsableDeviceName(const QString &name)
{
    return !name.isEmpty() && name != u"." && name != u".." && !name.contains(u'/')
        && !name.contains(QChar::Null) && name.isValidUtf16();
}

DeviceFileOperations::DeviceFileOperations(DeviceLink &link, DeviceFiles &files)
    : m_link(link)
    , m_files(files)
{
}

Async<void> DeviceFileOperations::createFile(WritePermit permit)
{
    co_return co_await create(Kind::File, permit);
}

Async<void> DeviceFileOperations::createFolder(WritePermit permit)
{
    co_return co_await create(Kind::Folder, permit);
}

Async<void> DeviceFileOperations::create(Kind kind, WritePermit permit)
{
    const auto life = m_life.watch();
    const auto path = co_await m_files.profile().nativePath(permit.path());
    if (!life)
        co_return DeviceError::closed();
    if (!path)
        co_return path.error();
    const auto board = m_files.profile().known();
    if (kind == Kind::Folder && board && board->isFlat)
        co_return Error{ErrorCode::Remote, u"the board has no folders"_s};
    const QString code = script(kind == Kind::Folder ? "create-folder"_L1 : "create-file"_L1);
    co_return co_await expectOk(code.arg(pathLiteral(*path)), permit);
}

Async<void> DeviceFileOperations::move(QString from, WritePermit target, Existing existing)
{
    const auto life = m_life.watch();
    const auto paths = co_await nativePaths(QStringList() << from << target.path());
    if (!life)
        co_return DeviceError::closed();
    if (!paths)
        co_return paths.error();
    const auto board = m_files.profile().known();
    if (board && (!board->hasRename || (existing == Existing::Refuse && !board->hasStat)))
        co_return Error{ErrorCode::Remote, u"the board cannot rename files"_s};
    const QString source = pathLiteral(paths->first());
    const QString destination = pathLiteral(paths->last());
    const QString check = existing == Existing::Replace
        ? u"pass"_s
        : QString(u"_qm("_s + source + u',' + destination + u')');
    // All in one call, since a path may contain "%1".
    co_return co_await expectOk(script("move"_L1).arg(source, destination, check), target);
}

Async<void> DeviceFileOperations::remove(WritePermit permit, IsCanceled isCanceled)
{
    const auto life = m_life.watch();
    const auto whole = co_await m_files.profile().nativePath(permit.path());
    if (!life)
        co_return DeviceError::closed();
    if (!whole)
        co_return whole.error();
    const QString code =
        script("remove"_L1).arg(pathLiteral(*whole), QString::number(entriesPerCommand));
    while (true) {
        if (isCanceled())
            co_return DeviceError::canceled();
        if (auto same = m_files.check(permit); !same)
            co_return same;
        const auto output = co_await m_link.executeOnDevice(code, treeTimeout);
        if (!life)
            co_return DeviceError::closed();
        if (!output)
            co_return output.error();
        if (output->contains("__OK__"_L1))
            co_return Result<void>();
        if (output->contains("__MORE__"_L1))
            continue;
        const auto failed = textAfter(*output, "__ERR__"_L1);
        if (!failed)
            co_return unexpected(*output);
        const QString reason =
            DeviceError::withSystemErrorNamed(failed->section(u'\n', 0, 0).trimmed());
        const QString path = failed->section(u'\n', 1).trimmed();
        const bool isWithin = !path.isEmpty() && path != *whole;
        co_return Error{ErrorCode::Remote, isWithin ? path + u": "_s + reason : reason};
    }
}

Async<QList<DeviceFileOperations::Kind>> DeviceFileOperations::kindsOf(QStringList paths)
{
    const auto life = m_life.watch();
    const auto onBoard = co_await nativePaths(std::move(paths));
    if (!life)
        co_return DeviceError::closed();
    if (!onBoard)
        co_return onBoard.error();
    QList<Kind> kinds;
    while (kinds.size() < onBoard->size()) {
        QString literals;
        qsizetype asked = 0;
        while (kinds.size() + asked < onBoard->size()
               && (asked == 0 || literals.size() < literalsPerCommand))
            literals += pathLiteral(onBoard->at(kinds.size() + asked++)) + u',';
        const QString code = script("look"_L1).arg(literals);
        const auto output = co_await m_link.executeOnDevice(code, quickTimeout);
        if (!life)
            co_return DeviceError::closed();
        if (!output)
            co_return output.error();
        const QString digits = textAfter(*output, "__LOOK__"_L1).value_or(QString()).trimmed();
        if (digits.size() != asked)
            co_return unexpected(*output);
        for (const QChar digit : digits)
            kinds << (digit == u'2' ? Kind::Folder : digit == u'1' ? Kind::File : Kind::Missing);
    }
    co_return std::move(kinds);
}

Async<DeviceFileOperations::Contents> DeviceFileOperations::count(QString path)
{
    const auto output =
        co_await m_link.executeOnDevice(script("count"_L1).arg(pathLiteral(path)), treeTimeout);
    if (!output)
        co_return output.error();
    const auto counted = numbersIn(textAfter(*output, "__COUNT__"_L1).value_or(QString()));
    if (!counted)
        co_return unexpected(*output);
    Contents contents;
    contents.files = counted->first;
    contents.bytes = counted->second;
    co_return contents;
}

Async<QHash<QString, DeviceFileOperations::Space>> DeviceFileOperations::spaces()
{
    const auto output = co_await m_link.executeOnDevice(script("space"_L1), treeTimeout);
    if (!output)
        co_return output.error();
    QHash<QString, Space> spaces;
    for (const QString &line : output->split(u'\n')) {
        const QString answer = textAfter(line, "__SPACE__"_L1).value_or(QString());
        const auto numbers = numbersIn(answer);
        if (!numbers)
            continue;
        Space space;
        space.totalBytes = numbers->first;
        space.freeBytes = numbers->second;
        spaces.insert(answer.section(u' ', 2), space);
    }
    if (spaces.isEmpty())
        co_return unexpected(*output);
    co_return std::move(spaces);
}

Async<QStringList> DeviceFileOperations::nativePaths(QStringList paths)
{
    const auto life = m_life.watch();
    for (QString &path : paths) {
        const auto onBoard = co_await m_files.profile().nativePath(path);
        if (!life)
            co_return DeviceError::closed();
        if (!onBoard)
            co_return onBoard.error();
        path = *onBoard;
    }
    co_return std::move(paths);
}

Async<void> DeviceFileOperations::expectOk(QString code, WritePermit permit)
{
    if (auto same = m_files.check(permit); !same)
        co_return same;
    const auto output = co_await m_link.executeOnDevice(code, treeTimeout);
    if (!output)
        co_return output.error();
    if (!output->contains("__OK__"_L1))
        co_return unexpected(*output);
    co_return Result<void>();
}

} // namespace Korvane
