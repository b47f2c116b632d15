#pragma once

#include "base/Async.h"
#include "base/UserPrompts.h"

#include <QSet>
#include <QString>

#include <functional>
#include <memory>
#include <utility>

namespace Korvane {

/// The paths for which a permit was requested and still exists.
using ClaimedPaths = QSet<QString>;

/// Allows one file or folder of one connected board to be written; only DeviceFiles makes them. A
/// permit of requestWrite holds its path: until the last copy is destroyed, no other request is
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
    /// Asks a question that arises while the file is written. False when the user declines; an
    /// error ends the write.
    using Confirm = std::function<Async<bool>(UserPrompts::Confirmation)>;
    /// Without one, the question is asked as one for an action of the user.
    [[nodiscard]] const Confirm &confirm() const { return m_confirm; }
    void setConfirm(Confirm confirm) { m_confirm = std::move(confirm); }

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
    Confirm m_confirm;
    std::shared_ptr<const Claim> m_claim;
};

} // namespace Korvane
