#include "debugger/FunctionScopes.h"

#include "debugger/PythonSource.h"

#include <QStringBuilder>

#include <utility>

namespace Korvane {

namespace {

constexpr qsizetype maxLocals = 30;

QStringView upTo(QStringView text, QChar end)
{
    const qsizetype position = text.indexOf(end);
    return position < 0 ? text : text.first(position);
}

/// The text between the first "(" and the bracket that closes it.
QStringView insideFirstBrackets(QStringView text)
{
    const qsizetype open = text.indexOf(u'(');
    if (open < 0)
        return {};
    int depth = 1;
    for (qsizetype i = open + 1; i < text.size(); ++i) {
        if (QStringView(u"([{").contains(text[i]))
            ++depth;
        else if (QStringView(u")]}").contains(text[i]) && --depth == 0)
            return text.sliced(open + 1, i - open - 1);
    }
    return text.sliced(open + 1);
}

/// Names with a leading underscore are not shown; those of the debugger begin with one.
bool isShown(QStringView name)
{
    return !name.startsWith(u'_') && PythonSource::isName(name);
}

/// The targets that \p line may bind, untrimmed; not all are names.
QList<QStringView> targetsOn(QStringView line)
{
    const QStringView code = PythonSource::trimmed(PythonSource::withoutComment(line));
    constexpr QStringView as = u" as ";
    constexpr QStringView forKeyword = u"for ";
    QList<QStringView> targets;
    if (const qsizetype position = code.indexOf(as); position >= 0)
        targets += PythonSource::splitTopLevelCommas(upTo(code.sliced(position + as.size()), u':'));

    const QStringView firstWord = PythonSource::leadingIdentifier(code);
    if (firstWord == u"for") {
        const qsizetype begin = code.indexOf(forKeyword) + forKeyword.size();
        const qsizetype end = code.indexOf(u" in ", begin);
        if (begin >= forKeyword.size() && end >= 0)
            targets += PythonSource::splitTopLevelCommas(code.sliced(begin, end - begin));
    } else if (!PythonSource::isBlockKeyword(firstWord)) {
        if (const auto assignment = PythonSource::findAssignment(code)) {
            QStringView target = code.first(*assignment);
            if (!target.isEmpty() && QStringView(u"+-*/%&|^<>@").contains(target.back()))
                target.chop(1);
            targets += PythonSource::splitTopLevelCommas(upTo(target, u':'));
        }
    }
    return targets;
}

} // namespace

void FunctionScopes::enter(qsizetype index)
{
    while (!m_blocks.empty() && m_blocks.back().indent >= m_source.indents[index]) {
        if (m_blocks.back().isFunction) {
            const Function inner = std::move(m_functions.back());
            m_functions.pop_back();
            if (!m_functions.empty()) {
                for (const QStringView name : inner.bound)
                    m_functions.back().bind(name);
            }
        }
        m_blocks.pop_back();
    }
}

const QString &FunctionScopes::thunkMap() const
{
    static const QString none = QStringLiteral("{}");
    return m_functions.empty() ? none : m_functions.back().thunkMap;
}

void FunctionScopes::leave(qsizetype index)
{
    const QStringView line = m_source.lines[index];
    if (!m_functions.empty()) {
        for (const QStringView target : targetsOn(line))
            m_functions.back().bind(PythonSource::trimmed(target));
    }
    const QStringView firstWord = PythonSource::leadingIdentifier(PythonSource::trimmed(line));
    const bool isFunction = firstWord == u"def" || firstWord == u"async";
    m_blocks.push_back({m_source.indents[index], isFunction});
    if (isFunction)
        m_functions.push_back(functionOf(index));
}

FunctionScopes::Function FunctionScopes::functionOf(qsizetype header) const
{
    Function function;
    function.header = m_source.lines[header];
    for (qsizetype i = header + 1;
         i < m_source.lines.size() && m_source.roles[i] == PythonSource::Role::Continuation; ++i)
        function.header += m_source.lines[i];

    for (QStringView piece :
         PythonSource::splitTopLevelCommas(insideFirstBrackets(function.header))) {
        piece = PythonSource::trimmed(piece);
        while (piece.startsWith(u'*'))
            piece = piece.sliced(1);
        piece = PythonSource::trimmed(upTo(upTo(piece, u':'), u'='));
        if (piece != u"self")
            function.addLocal(piece);
    }
    return function;
}

void FunctionScopes::Function::addLocal(QStringView name)
{
    if (locals.size() >= maxLocals || locals.contains(name) || !isShown(name))
        return;
    thunkMap.chop(1);
    if (!locals.isEmpty())
        thunkMap += u',';
    thunkMap += u'\'' % name % QLatin1String("':lambda:") % name % u'}';
    locals.append(name);
}

void FunctionScopes::Function::bind(QStringView name)
{
    // The enclosing function takes these over. Its list is limited to maxLocals as well, so more
    // than that many are not needed.
    if (bound.size() >= maxLocals || bound.contains(name) || !isShown(name))
        return;
    bound.append(name);
    addLocal(name);
}

} // namespace Korvane
