#include "support/RecordingShell.h"

namespace Korvane {

void RecordingShell::appendLine(const QString &text, REPLLine::Kind kind)
{
    static constexpr const char *names[] = {"input: ", "output: ", "error: ", "info: "};
    m_lines << QString::fromLatin1(names[static_cast<int>(kind)]) + text;
    m_lastIsOutput = false;
}

void RecordingShell::appendOutput(const QString &text)
{
    m_output += text;
    if (m_lastIsOutput)
        m_lines.last() += text;
    else
        m_lines << QStringLiteral("output: ") + text;
    m_lastIsOutput = true;
}

void RecordingShell::clear()
{
    m_lines.clear();
    m_output.clear();
    m_lastIsOutput = false;
}

} // namespace Korvane
