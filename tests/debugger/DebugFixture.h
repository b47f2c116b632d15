#pragma once

#include "board/DebugPause.h"
#include "board/DeviceLink.h"
#include "board/ProgramRun.h"
#include "debugger/DebugSession.h"
#include "support/RecordingShell.h"
#include "support/TestPort.h"

#include <QObject>
#include <QTest>

namespace Korvane {

/// A ProgramRun and a DebugSession on a link, connected as in AppState.
struct DebugFixture final : DeviceLinkClient
{
    RecordingShell shell;
    DeviceLink link{shell, TestPort::roots()};
    std::unique_ptr<ProgramRun> run = std::make_unique<ProgramRun>(link, shell);
    DebugSession session{link, *run, shell};
    /// The signals of the run, in order; "running" and "free" for deviceProgramRunning.
    QStringList events;
    /// The bytes that no command and no handshake has received.
    QByteArray data;

    DebugFixture()
    {
        link.setClient(this);
        const auto note = [this](const QString &event) { return [=, this] { events << event; }; };
        QObject::connect(run.get(), &ProgramRun::deviceProgramRunningChanged, &link, [this] {
            events << (run->deviceProgramRunning() ? QStringLiteral("running")
                                                   : QStringLiteral("free"));
        });
        QObject::connect(run.get(), &ProgramRun::paused, &link, [this](const DebugPause &pause) {
            events << QStringLiteral("paused-%1").arg(pause.line);
        });
        QObject::connect(run.get(), &ProgramRun::programEnded, &link,
                         note(QStringLiteral("ended")));
        QObject::connect(run.get(), &ProgramRun::replyCompleted, &link,
                         note(QStringLiteral("whole")));
        QObject::connect(run.get(), &ProgramRun::startFailed, &link,
                         note(QStringLiteral("gave up")));
        QObject::connect(&link, &DeviceLink::dataReceived, &link,
                         [this](const QByteArray &chunk) { data += chunk; });
        QObject::connect(&link, &DeviceLink::ended, &link, [this] { session.reset(); });
    }

    bool deviceProgramRunning() const override { return run && run->deviceProgramRunning(); }
    bool isPausedAtBreakpoint() const override { return session.pausedAt().has_value(); }
    bool isReplyEnding() const override { return run && run->isReplyEnding(); }

    /// Connects, lets the board answer the two Ctrl-C with its prompts, and forgets them.
    bool connectTo(const QString &port, const QString &greeting)
    {
        const bool isGreeted = link.connectDevice(port)
            && QTest::qWaitFor([&] { return shell.output().endsWith(greeting); });
        shell.clear();
        events.clear();
        data.clear();
        return isGreeted;
    }
};

} // namespace Korvane
