#pragma once

#include "base/ShellSink.h"
#include "board/BoardRecords.h"
#include "board/DeviceLink.h"
#include "support/TestPort.h"

#include <QCoro/QCoroTask>

namespace Korvane {

/// A link with a log of its signals and Shell lines, in order.
struct LinkFixture final : ShellSink, DeviceLinkClient
{
    QStringList log;
    QByteArray data;
    bool isProgramRunning = false;
    bool isPaused = false;
    bool isEnding = false;
    std::unique_ptr<DeviceLink> link = std::make_unique<DeviceLink>(*this, TestPort::roots());

    LinkFixture()
    {
        link->setClient(this);
        const auto note = [this](const char *event) {
            return [this, event] { log << QString::fromLatin1(event); };
        };
        QObject::connect(link.get(), &DeviceLink::readerStarting, link.get(),
                         note("reader starting"));
        QObject::connect(link.get(), &DeviceLink::dataReceived, link.get(),
                         [this](const QByteArray &chunk) { data += chunk; });
        QObject::connect(link.get(), &DeviceLink::connected, link.get(), note("connected"));
        QObject::connect(link.get(), &DeviceLink::lost, link.get(), note("lost"));
        QObject::connect(link.get(), &DeviceLink::ended, link.get(), [this] {
            const bool isReset = link->connectionState() == DeviceConnectionState::disconnected();
            log << (isReset ? QStringLiteral("ended") : QStringLiteral("ended too early"));
        });
    }

    void appendLine(const QString &text, REPLLine::Kind kind) override
    {
        log << (kind == REPLLine::Kind::Error ? QStringLiteral("error: ")
                                              : QStringLiteral("info: "))
                + text;
    }
    void appendOutput(const QString &text) override { log << QStringLiteral("output: ") + text; }

    bool deviceProgramRunning() const override { return isProgramRunning; }
    bool isPausedAtBreakpoint() const override { return isPaused; }
    bool isReplyEnding() const override { return isEnding; }

    bool connectTo(const QString &port)
    {
        const auto opened = link->connectDevice(port);
        if (!opened)
            log << QStringLiteral("failed: ") + opened.error().message;
        return opened && link->connectionState() == DeviceConnectionState::connected(port);
    }
    QCoro::Task<Result<DeviceExecution>> run(
        const char *code, std::chrono::duration<double> timeout = std::chrono::seconds(10))
    {
        return link->executeOnDeviceRaw(QString::fromUtf8(code), timeout);
    }
    /// No command uses the link.
    bool isLinkFree() const { return !link->deviceCommandInFlight(); }
};

/// The result as one line.
inline QString toText(const Result<DeviceExecution> &result)
{
    return result ? result->stdout + u'|' + result->stderr
                  : QStringLiteral("error: ") + result.error().message;
}

} // namespace Korvane
