#include "app/ShellTranscript.h"

namespace Korvane {

ShellTranscript::ShellTranscript(QObject *parent)
    : QObject(parent)
{
}

void ShellTranscript::appendLine(const QString &text, REPLLine::Kind kind)
{
    addOutput(m_cleaner.pause());
    addLine(text, kind);
}

void ShellTranscript::appendOutput(const QString &text)
{
    addOutput(m_cleaner.feed(text));
}

void ShellTranscript::flushOutput()
{
    addOutput(m_cleaner.finish());
}

void ShellTranscript::clear()
{
    // A line end that waits goes with the text that it ends. The rest of an escape sequence is
    // still to come, and would be shown as text without its start.
    m_cleaner.dropLineEnd();
    m_replLines.clear();
    emit cleared();
}

void ShellTranscript::addLine(const QString &text, REPLLine::Kind kind)
{
    m_replLines.append(REPLLine{kind, text});
    emit lineAppended(m_replLines.size() - 1);
}

void ShellTranscript::addOutput(const QString &text)
{
    if (text.isEmpty())
        return;
    if (m_replLines.isEmpty() || m_replLines.constLast().kind != REPLLine::Kind::Output) {
        addLine(text, REPLLine::Kind::Output);
        return;
    }
    REPLLine &line = m_replLines.last();
    line.text += text; // in place: a copy of the line for each chunk would cost its square
    line.id = QUuid::createUuid();
    emit outputExtended(text);
}

} // namespace Korvane
