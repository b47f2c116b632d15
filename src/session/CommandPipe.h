#pragma once

#include "base/Result.h"

#include <QByteArray>
#include <QObject>

#include <memory>

class QSocketNotifier;

namespace Korvane {

/// The channel on which a child process receives its commands, as a pipe of our own.
///
/// QProcess's own channel won't do: once a write has failed it goes on accepting bytes, keeps them
/// and reports nothing any more, so that the next request would wait for good; and it hides why.
/// Main thread only; never blocks.
class CommandPipe final : public QObject
{
    Q_OBJECT

public:
    explicit CommandPipe(QObject *parent = nullptr);
    ~CommandPipe() override;

    [[nodiscard]] Result<void> open();
    /// The descriptor that becomes the child's standard input.
    [[nodiscard]] int childEnd() const { return m_childEnd; }
    /// Once the child has it; while it is open here, nobody notices that the child has gone.
    void closeChildEnd();

    /// Writes what the pipe takes now, and the rest as the child reads on.
    void write(const QByteArray &bytes);
    /// The child then finds its commands at an end. What is not yet written is lost.
    void close();

signals:
    /// The child no longer takes commands; what was not yet written is dropped.
    void writeFailed(const QString &reason);

private:
    void flush();

    int m_childEnd = -1;
    int m_ourEnd = -1;
    QByteArray m_unwritten;
    qsizetype m_writtenBytes = 0; // of m_unwritten
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace Korvane
