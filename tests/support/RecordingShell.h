#pragma once

#include "base/ShellSink.h"
#include "support/ShellLines.h"

namespace Korvane {

/// A Shell that records its lines and output.
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

    /// The lines, each after its kind: "info: Connected to …". Consecutive output is one line.
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
