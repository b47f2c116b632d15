#pragma once

#include "serial/SerialPortManager.h"

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <array>
#include <utility>

namespace Korvane {

/// The path of a board's port. All paths are in roots(), whether a board has them or not, so a
/// fixture may be made before its board.
class TestPort final
{
public:
    TestPort()
    {
        while (std::exchange(s_isTaken.at(m_index), true))
            ++m_index;
    }
    ~TestPort()
    {
        QFile::remove(path());
        s_isTaken.at(m_index) = false;
    }
    TestPort(const TestPort &) = delete;
    TestPort &operator=(const TestPort &) = delete;

    [[nodiscard]] QString path() const { return path(m_index); }
    void linkTo(const QString &device) const
    {
        QFile::remove(path());
        QFile::link(device, path());
    }
    /// Roots with the ports of the test's boards and no others.
    [[nodiscard]] static SerialPortManager::Roots roots()
    {
        QStringList paths;
        for (std::size_t index = 0; index < s_isTaken.size(); ++index)
            paths << path(index);
        return {folder().path(), folder().path(), paths.join(u':')};
    }

private:
    static const QTemporaryDir &folder()
    {
        static const QTemporaryDir folder;
        return folder;
    }
    static QString path(std::size_t index)
    {
        return folder().filePath(QStringLiteral("port%1").arg(index));
    }

    inline static std::array<bool, 8> s_isTaken{};
    std::size_t m_index = 0;
};

} // namespace Korvane
