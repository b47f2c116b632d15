#include "app/VirtualBoardProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <utility>

namespace Korvane {

namespace {

constexpr int endTimeoutMilliseconds = 2000;

} // namespace

QString VirtualBoardProcess::defaultFolder()
{
    // Below the prefix that the program is installed in, or above the build folder.
    for (const QString &relative : {QStringLiteral("/../share/korvane/virtual-board"),
                                    QStringLiteral("/../../tools/virtual-board")}) {
        const QString folder = QDir::cleanPath(QCoreApplication::applicationDirPath() + relative);
        if (QFileInfo::exists(folder + QStringLiteral("/virtual_board.py")))
            return folder;
    }
    return {};
}

VirtualBoardProcess::VirtualBoardProcess(QString folder, QObject *parent)
    : QObject(parent)
    , m_folder(std::move(folder))
{
    m_process.setStandardInputFile(QProcess::nullDevice());
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &VirtualBoardProcess::readPort);
    connect(&m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            fail(QStringLiteral(
                "The virtual board needs Python 3. Install it with: sudo apt install python3"));
    });
    connect(&m_process, &QProcess::finished, this, [this] {
        if (const QString port = std::exchange(m_port, {}); !port.isEmpty())
            emit ended(port);
        const QString reason = QString::fromUtf8(m_process.readAllStandardError()).trimmed();
        fail(QStringLiteral("The virtual board did not start: %1").arg(reason.section(u'\n', -1)));
    });
}

VirtualBoardProcess::~VirtualBoardProcess()
{
    m_process.disconnect(this);
    m_process.terminate();
    if (m_process.state() != QProcess::NotRunning
        && !m_process.waitForFinished(endTimeoutMilliseconds))
        m_process.kill();
}

void VirtualBoardProcess::start()
{
    if (isRunning()) {
        emit started(m_port);
        return;
    }
    if (std::exchange(m_isStarting, true))
        return;
    if (m_folder.isEmpty()
        || !QFileInfo::exists(m_folder + QStringLiteral("/node_modules/@micropython"))) {
        fail(QStringLiteral(
            "The virtual board is not installed. In a source tree, run scripts/virtual-board "
            "once"));
        return;
    }
    if (QStandardPaths::findExecutable(QStringLiteral("node")).isEmpty()) {
        fail(QStringLiteral(
            "The virtual board needs Node.js 18 or later. Install it with: sudo apt install "
            "nodejs"));
        return;
    }
    m_process.start(QStringLiteral("python3"),
                    {m_folder + QStringLiteral("/virtual_board.py"),
                     QStringLiteral("--with-parent"), QStringLiteral("--parent"),
                     QString::number(QCoreApplication::applicationPid())});
}

void VirtualBoardProcess::readPort()
{
    if (!m_isStarting || !m_process.canReadLine())
        return;
    m_port = QFile::decodeName(m_process.readLine().trimmed());
    m_isStarting = false;
    emit started(m_port);
}

void VirtualBoardProcess::fail(const QString &message)
{
    // When the board had started, the link reports that its port is gone.
    if (std::exchange(m_isStarting, false))
        emit startFailed({ErrorCode::NotConnected, message});
}

} // namespace Korvane
