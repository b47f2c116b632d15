#include "support/VirtualBoard.h"

#include <QDeadlineTimer>

#include <utility>

namespace Korvane {

using namespace std::chrono_literals;

VirtualBoard::VirtualBoard(QStringList options)
    : m_options(std::move(options))
{
}

VirtualBoard::~VirtualBoard()
{
    m_process.terminate();
    m_process.waitForFinished();
}

bool VirtualBoard::start()
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(
        qEnvironmentVariable("KORVANE_SOURCE_DIR") + QStringLiteral("/scripts/virtual-board"),
        QStringList{QStringLiteral("--with-parent"), QStringLiteral("--link"), port()} + m_options);
    QByteArray lines;
    for (const QDeadlineTimer deadline(2min); lines.count('\n') < 2; lines += m_process.readAll()) {
        if (deadline.hasExpired() || !m_process.waitForReadyRead(60'000)) {
            m_errorText = QStringLiteral("the virtual board did not start: ")
                + m_process.errorString() + u' ' + QString::fromUtf8(lines);
            return false;
        }
    }
    // The port's path, then the process id of the board.
    return lines.trimmed().split('\n').last().toLongLong() > 0;
}

} // namespace Korvane
