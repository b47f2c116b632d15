#include "app/BoardSpace.h"

#include "board/DeviceFiles.h"
#include "board/DeviceLink.h"

namespace Korvane {

BoardSpace::BoardSpace(DeviceLink &link, DeviceFiles &files, DeviceFileOperations &operations)
    : m_link(link)
    , m_operations(operations)
{
    connect(&files, &DeviceFiles::deviceFileNodesChanged, this, [this] { m_isRequested = false; });
    connect(&link, &DeviceLink::ended, this, [this] {
        m_spaces.clear();
        emit changed();
    });
}

QCoro::Task<void> BoardSpace::request()
{
    if (m_isRequested || !m_link.connectionState().isConnected())
        co_return;
    const auto life = m_life.watch();
    const int connection = m_link.connectionNumber();
    m_isRequested = true;
    const auto spaces = co_await m_operations.spaces();
    if (!life || connection != m_link.connectionNumber())
        co_return;
    if (!spaces && spaces.error().code != ErrorCode::Remote) { // the link was not free
        m_isRequested = false;
        co_return;
    }
    m_spaces.clear();
    if (spaces)
        m_spaces = *spaces;
    emit changed();
}

std::optional<DeviceFileOperations::Space> BoardSpace::space(const QString &folder) const
{
    auto found = m_spaces.constFind(u'/' + folder.section(u'/', 1, 1));
    if (found == m_spaces.constEnd())
        found = m_spaces.constFind(QStringLiteral("/"));
    if (found == m_spaces.constEnd() || found->totalBytes <= 0)
        return std::nullopt;
    return *found;
}

} // namespace Korvane
