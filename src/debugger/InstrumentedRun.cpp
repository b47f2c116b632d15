#include "debugger/InstrumentedRun.h"

#include "debugger/FunctionScopes.h"
#include "debugger/PythonSource.h"

#include <QList>
#include <QStringBuilder>

#include <algorithm>
#include <optional>

namespace Korvane {

namespace {

using Role = PythonSource::Role;

/// The number of nested headers over which a breakpoint is moved at most.
constexpr int maxHeaders = 99;

/// Finds the lines on which breakpoints can be armed.
class BreakpointResolver final
{
public:
    explicit BreakpointResolver(const PythonSource &source)
        : m_source(source)
        , m_starts(source.lines.size() + 1, source.lines.size())
    {
        for (qsizetype i = source.lines.size() - 1; i >= 0; --i)
            m_starts[i] = source.isStart(i) ? i : m_starts[i + 1];
    }

    struct Resolution
    {
        /// 1-based; nothing when the breakpoint is ignored.
        std::optional<int> line;
        QString reason = {};
    };

    [[nodiscard]] Resolution resolve(int breakpoint) const
    {
        if (breakpoint < 1 || breakpoint > m_source.lines.size())
            return ignored(u"line %1 is outside the file", breakpoint);
        qsizetype index = m_starts[breakpoint - 1];
        if (isEnd(index))
            return ignored(u"no statement at or after line %1", breakpoint);
        for (int headers = 0; m_source.roles[index] == Role::CompoundHeader; ++headers) {
            if (headers == maxHeaders)
                return {.line = {},
                        .reason = QStringLiteral("could not find a statement to stop on")};
            const qsizetype next = m_starts[index + 1];
            if (isEnd(next) || !isInside(next, index))
                return ignored(u"the block at line %1 has no body to stop in", index + 1);
            index = next;
        }
        return {.line = static_cast<int>(index + 1)};
    }

private:
    static Resolution ignored(QStringView reason, qsizetype line)
    {
        return {.line = {}, .reason = reason.toString().arg(line)};
    }

    [[nodiscard]] bool isEnd(qsizetype index) const { return index == m_source.lines.size(); }

    /// Whether the line \p next belongs to the header before it; a decorator and the definition
    /// after it have the same indentation.
    [[nodiscard]] bool isInside(qsizetype next, qsizetype header) const
    {
        const bool isDecorator = PythonSource::trimmed(m_source.lines[header]).startsWith(u'@');
        const int depth = m_source.indents[next] - m_source.indents[header];
        return isDecorator ? depth >= 0 : depth > 0;
    }

    const PythonSource &m_source;
    /// For each line, the first at or after it on which a statement or header starts.
    QList<qsizetype> m_starts;
};

QString rewritten(const PythonSource &source)
{
    QString text;
    FunctionScopes scopes(source);
    for (qsizetype i = 0; i < source.lines.size(); ++i) {
        if (i > 0)
            text += u'\n';
        const QStringView line = source.lines[i];
        if (!source.isStart(i)) {
            text += line;
            continue;
        }
        scopes.enter(i);
        if (source.roles[i] == Role::Statement) {
            const qsizetype indent = source.indents[i];
            const QString number = QString::number(i + 1);
            text += line.first(indent) % QLatin1String("(_dstep or ") % number
                % QLatin1String(" in _dbrk) and _bp(") % number % QLatin1String(", locals(), ")
                % scopes.thunkMap() % QLatin1String("); ") % line.sliced(indent);
        } else {
            text += line;
        }
        scopes.leave(i);
    }
    return text;
}

/// The number of bytes of \p text in UTF-8, computed without converting it.
qsizetype utf8Size(QStringView text)
{
    qsizetype size = text.size();
    for (const QChar c : text)
        size += c < QChar(0x80) ? 0 : c < QChar(0x800) || c.isSurrogate() ? 1 : 2;
    return size;
}

} // namespace

InstrumentedRun::InstrumentedRun(const QString &userSource, const QSet<int> &breakpoints)
    : originalBytes(utf8Size(userSource))
{
    const PythonSource analyzed(userSource);
    const BreakpointResolver resolver(analyzed);
    QList<int> requested = breakpoints.values();
    std::ranges::sort(requested);
    for (const int line : std::as_const(requested)) {
        const BreakpointResolver::Resolution resolution = resolver.resolve(line);
        if (!resolution.line) {
            notes << QStringLiteral("Breakpoint on line %1 ignored: %2.")
                         .arg(QString::number(line), resolution.reason);
            continue;
        }
        activeLines.insert(*resolution.line);
        if (*resolution.line != line)
            notes << QStringLiteral("Breakpoint on line %1 moved to line %2 — a statement can't be "
                                    "placed before a block header.")
                         .arg(line)
                         .arg(*resolution.line);
    }

    for (qsizetype i = 0; i < analyzed.lines.size(); ++i) {
        if (analyzed.roles[i] == Role::Statement)
            steppableLines.insert(static_cast<int>(i + 1));
    }
    if (!steppableLines.isEmpty()) {
        source = rewritten(analyzed);
        instrumentedBytes = utf8Size(source);
    } else {
        notes << QStringLiteral("Nothing to run: the file has no statements.");
        source = userSource;
        instrumentedBytes = originalBytes;
    }
}

} // namespace Korvane
