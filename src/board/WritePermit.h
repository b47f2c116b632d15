#pragma once

#include "base/UserPrompts.h"

#include <QSet>
#include <QString>

#include <memory>
#include <stop_token>
#include <utility>

namespace Korvane {

/// The paths to which a transfer was asked for and has not ended.
using ClaimedPaths = QSet<QString>;

/// Allows one file or folder of one connected board to be written; only DeviceFiles makes them. A
/// permit that was asked for holds its path: until the last copy is destroyed, no other request is
/// granted one for it.
class WritePermit final
{
public:
    [[nodiscard]] const QString &path() const { return m_path; }
    /// For an entry of the folder that this permit is for.
    [[nodiscard]] WritePermit forEntry(const QString &relativePath) const
    {
        const QString folder = m_path == u"/" ? QString() : m_path;
        WritePermit entry = *this;
        entry.m_path = folder + u'/' + relativePath;
        return entry;
    }
    /// For whose action the file is written, for questions that come up while it is written.
    [[nodiscard]] UserPrompts::Asker asker() const { return m_asker; }
    /// Ends the questions that come up, as UserPrompts::Confirmation::withdrawn.
    [[nodiscard]] std::stop_token withdrawn() const { return m_withdrawn; }
    void setAsker(UserPrompts::Asker asker, std::stop_token withdrawn)
    {
        m_asker = asker;
        m_withdrawn = std::move(withdrawn);
    }

private:
    friend class DeviceFiles;

    struct Claim
    {
        Claim(std::shared_ptr<ClaimedPaths> claimedPaths, QString claimed)
            : paths(std::move(claimedPaths))
            , path(std::move(claimed))
        {
            paths->insert(path);
        }
        ~Claim() { paths->remove(path); }
        Claim(const Claim &) = delete;
        Claim &operator=(const Claim &) = delete;

        std::shared_ptr<ClaimedPaths> paths;
        QString path;
    };

    WritePermit(QString path, int connection, std::shared_ptr<const Claim> claim = {})
        : m_path(std::move(path))
        , m_connection(connection)
        , m_claim(std::move(claim))
    {
    }

    QString m_path;
    int m_connection;
    UserPrompts::Asker m_asker = UserPrompts::Asker::User;
    std::stop_token m_withdrawn;
    std::shared_ptr<const Claim> m_claim;
};

} // namespace Korvane
