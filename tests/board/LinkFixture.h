#pragma once

#include "base/ShellSink.h"
#include "board/BoardRecords.h"
#include "board/DeviceLink.h"
#include "support/TestPort.h"

#include <QCoro/QCoroTask>

namespace Korvane {

/// What sits above the link, and writes down in one list all that it is told.
struct LinkFixture final : ShellSink, DeviceLinkClient
{
    QStringList log;
    QByteArray data;
    bool isProgramRunning = false;
    bool isPaused = false;
    std::unique_ptr<DeviceLink> link = std::make_unique<DeviceLink>(*this, TestPort::roots());

    LinkFixture() { link->setClient(this); }

    void appendLine(const QString &text, REPLLine::Kind kind) override
    {
        log << (kind == REPLLine::Kind::Error ? QStringLiteral("error: ")
                                              : QStringLiteral("info: "))
                + text;
    }
    void appendOutput(const QString &text) override { log << QStringLiteral("output: ") + text; }

    bool deviceProgramRunning() const override { return isProgramRunning; }
    bool isPausedAtBreakpoint() const override { return isPaused; }
    void deviceReaderStarting() override { log << QStringLiteral("reader starting"); }
    void handleDeviceData(const QByteArray &chunk) override { data += chunk; }
    void deviceConnected() override { log << QStringLiteral("list files"); }
    void flushDeviceStream() override { log << QStringLiteral("flush"); }
    void deviceLinkEnded() override
    {
        log << (link->connectionState() == DeviceConnectionState::disconnected()
                    ? QStringLiteral("reset")
                    : QStringLiteral("reset while not disconnected"));
    }

    bool connectTo(const QString &port)
    {
        link->connectDevice(port);
        return link->connectionState() == DeviceConnectionState::connected(port);
    }
    QCoro::Task<Result<DeviceExecution>> run(
        const char *code, std::chrono::duration<double> timeout = std::chrono::seconds(10))
    {
        return link->executeOnDeviceRaw(QString::fromUtf8(code), timeout);
    }
    /// The line is free, and no command has its hand on what arrives.
    bool isAtRest() const { return !link->deviceCommandInFlight(); }
};

/// A result in one line.
inline QString told(const Result<DeviceExecution> &result)
{
    return result ? result->stdout + u'|' + result->stderr
                  : QStringLiteral("error: ") + result.error().message;
}

} // namespace Korvane
