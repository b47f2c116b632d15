#pragma once

#include "base/Result.h"
#include "session/PipePair.h"

#include <QByteArray>
#include <QObject>

#include <memory>

class QSocketNotifier;

namespace Korvane {

/// The pipe through which a child process receives its commands.
///
/// The one of QProcess is not used: after a failed write it accepts further bytes without an error,
/// so that the next request would never be answered, and it does not report the reason. Main thread
/// only; never blocks.
class CommandPipe final : public QObject
{
    Q_OBJECT

public:
    explicit CommandPipe(QObject *parent = nullptr);
    ~CommandPipe() override;

    /// To be called once. Fails with `File` and errno when there is no descriptor left.
    [[nodiscard]] Result<void> open();
    /// The descriptor that becomes the child's standard input.
    [[nodiscard]] int childEnd() const { return m_pipe.childEnd(); }
    void closeChildEnd() { m_pipe.closeChildEnd(); }

    /// Writes what the pipe accepts now, and the rest as the child reads. Does nothing when closed.
    void write(const QByteArray &bytes);
    /// The child then reads the end of its standard input. What is not yet written is dropped.
    void close();

signals:
    /// The child no longer reads commands; what was not yet written is dropped.
    void writeFailed(const QString &reason);

private:
    void flush();

    PipePair m_pipe;
    QByteArray m_unwritten;
    qsizetype m_writtenBytes = 0; // of m_unwritten
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace Korvane
