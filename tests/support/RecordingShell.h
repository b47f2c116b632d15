#pragma once

#include "base/ShellSink.h"
#include "support/ShellLines.h"

namespace Korvane {

/// A Shell that keeps what it is told, for tests to look at.
class RecordingShell final : public ShellSink
{
public:
    void appendLine(const QString &text, REPLLine::Kind kind) override
    {
        m_lines << describe(REPLLine{kind, text});
        m_lastIsOutput = false;
    }
    void appendOutput(const QString &text) override
    {
        m_output += text;
        if (std::exchange(m_lastIsOutput, true))
            m_lines.last() += text;
        else
            m_lines << describe(REPLLine{REPLLine::Kind::Output, text});
    }

    /// One string a line, led by its kind: "info: Connected to …". Output in a row is one line.
    [[nodiscard]] const QStringList &lines() const { return m_lines; }
    [[nodiscard]] QString output() const { return m_output; }
    void clear()
    {
        m_lines.clear();
        m_output.clear();
        m_lastIsOutput = false;
    }

private:
    QStringList m_lines;
    QString m_output;
    bool m_lastIsOutput = false;
};

} // namespace Korvane
