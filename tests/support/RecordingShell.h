#pragma once

#include "base/ShellSink.h"

#include <QStringList>

namespace Korvane {

/// A Shell that keeps what it is told, for tests to look at.
class RecordingShell final : public ShellSink
{
public:
    void appendLine(const QString &text, REPLLine::Kind kind) override;
    void appendOutput(const QString &text) override;

    /// One string a line, led by its kind: "info: Connected to …". Output in a row is one line.
    [[nodiscard]] const QStringList &lines() const { return m_lines; }
    [[nodiscard]] QString output() const { return m_output; }
    void clear();

private:
    QStringList m_lines;
    QString m_output;
    bool m_lastIsOutput = false;
};

} // namespace Korvane
