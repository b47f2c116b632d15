#pragma once

#include "base/Result.h"
#include "session/PipePair.h"

#include <QByteArray>
#include <QObject>

#include <memory>

class QSocketNotifier;

namespace Korvane {

/// A child's standard error, as a pipe of our own. QProcess reads its pipes when its notifiers
/// fire, in no fixed order, and can't be asked for what a pipe holds at a given moment. Main thread
/// only; never blocks.
class ErrorPipe final : public QObject
{
    Q_OBJECT

public:
    explicit ErrorPipe(QObject *parent = nullptr);
    ~ErrorPipe() override;

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
    std::unique_ptr<QSocketNotifier> m_notifier; // before m_pipe is closed
};

} // namespace Korvane
