#include "app/ShellTranscript.h"

#include <algorithm>
#include <utility>

namespace Korvane {

ShellTranscript::ShellTranscript(QObject *parent)
    : QObject(parent)
{
}

void ShellTranscript::appendLine(const QString &text, REPLLine::Kind kind)
{
    addOutput(m_filter.pause());
    addLine(text, kind);
}

void ShellTranscript::appendOutput(const QString &text)
{
    addOutput(m_filter.feed(text));
}

void ShellTranscript::flushOutput()
{
    addOutput(m_filter.finish());
}

void ShellTranscript::appendReplMessage(const QString &text)
{
    if (m_showsReplMessages)
        addOutput(m_filter.feed(text), Source::Repl);
}

void ShellTranscript::clear()
{
    // A line end that is held back is dropped with its line. The start of an escape sequence is
    // kept, because its rest would be shown as text without it.
    m_filter.dropLineEnd();
    m_replLines.clear();
    m_characters = 0;
    emit cleared();
}

int ShellTranscript::beginRun()
{
    m_lastRun = m_lastRun % maxRun + 1;
    m_run = m_lastRun;
    return m_run;
}

void ShellTranscript::setLimit(qsizetype characters)
{
    m_limit = characters;
    trim();
}

void ShellTranscript::addLine(const QString &text, REPLLine::Kind kind)
{
    REPLLine line{kind, text};
    line.run = m_run;
    m_replLines.append(line);
    m_characters += text.size();
    emit lineAppended(m_replLines.size() - 1);
    trim();
}

void ShellTranscript::addOutput(const QString &text, Source source)
{
    if (text.isEmpty())
        return;
    const bool isNew =
        m_replLines.isEmpty() || m_replLines.constLast().kind != REPLLine::Kind::Output;
    if (isNew) {
        REPLLine line{REPLLine::Kind::Output, {}};
        line.run = m_run;
        m_replLines.append(line);
    }
    REPLLine &line = m_replLines.last();
    if (source == Source::Repl) {
        QList<REPLLine::Range> &ranges = line.replMessages;
        if (!ranges.isEmpty() && ranges.last().start + ranges.last().length == line.text.size())
            ranges.last().length += text.size();
        else
            ranges.append({line.text.size(), text.size()});
    }
    line.text += text; // in place: a copy of the line for each chunk would take quadratic time
    m_characters += text.size();
    if (isNew) {
        emit lineAppended(m_replLines.size() - 1);
    } else {
        line.id = QUuid::createUuid();
        emit outputExtended(text);
    }
    trim();
}

void ShellTranscript::trim()
{
    if (m_characters <= m_limit + m_limit / 10)
        return;
    qsizetype excess = m_characters - m_limit;
    m_characters = m_limit;
    qsizetype lines = 0;
    while (lines < m_replLines.size() && m_replLines[lines].text.size() <= excess)
        excess -= m_replLines[lines++].text.size();
    m_replLines.remove(0, lines);
    if (excess > 0) {
        REPLLine &first = m_replLines.first();
        first.text.remove(0, excess);
        QList<REPLLine::Range> kept;
        for (REPLLine::Range range : std::as_const(first.replMessages)) {
            const qsizetype end = range.start + range.length - excess;
            range.start = std::max<qsizetype>(range.start - excess, 0);
            range.length = end - range.start;
            if (range.length > 0)
                kept << range;
        }
        first.replMessages = kept;
    }
    emit trimmed(lines, excess);
}

} // namespace Korvane
