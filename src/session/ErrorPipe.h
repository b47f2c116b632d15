#pragma once

#include "base/Result.h"
#include "session/PipePair.h"

#include <QByteArray>
#include <QObject>

#include <memory>

class QSocketNotifier;

namespace Korvane {

/// The pipe of a child's standard error. The one of QProcess is not used: QProcess reads its pipes
/// when its notifiers are activated, in no fixed order, and has no function that reads what a pipe
/// holds at a given moment. Main thread only; never blocks.
class ErrorPipe final : public QObject
{
    Q_OBJECT

public:
    explicit ErrorPipe(QObject *parent = nullptr);
    ~ErrorPipe() override;

    /// As CommandPipe::open.
    [[nodiscard]] Result<void> open();
    /// The descriptor that becomes the child's standard error.
    [[nodiscard]] int childEnd() const { return m_pipe.childEnd(); }
    void closeChildEnd() { m_pipe.closeChildEnd(); }
    /// Reads what the pipe holds now: all that the child has written before this call, since a
    /// write is in the pipe when it returns. Emits `arrived` at most once, inside this call.
    void read();

signals:
    void arrived(const QByteArray &bytes);

private:
    PipePair m_pipe;
    std::unique_ptr<QSocketNotifier> m_notifier; // destroyed before m_pipe closes its descriptor
};

} // namespace Korvane
