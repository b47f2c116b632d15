#include "document/CodePiece.h"

#include "document/PythonIndentation.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <optional>

namespace Korvane {

namespace {

bool isCellMark(const QString &line)
{
    return line.startsWith(QLatin1String("# %%")) || line.startsWith(QLatin1String("#%%"));
}

bool isBlank(const QString &line)
{
    return QStringView(line).trimmed().isEmpty();
}

qsizetype indentation(const QString &line)
{
    return PythonIndentation::ofLine(line, 0).size();
}

} // namespace

CodePiece CodePiece::at(const QString &text, qsizetype start, qsizetype end)
{
    const QStringList lines = text.split(u'\n');
    const auto lineAt = [&text](qsizetype position) {
        return std::count(text.cbegin(), text.cbegin() + std::min(position, text.size()), u'\n');
    };
    qsizetype first = lineAt(start);
    if (start != end) {
        // A selection that ends at the start of a line does not touch that line.
        const qsizetype last = lineAt(end - 1);
        return ofLines(lines, first, last);
    }
    if (std::any_of(lines.cbegin(), lines.cend(), isCellMark)) {
        while (first > 0 && !isCellMark(lines[first]))
            --first;
        qsizetype last = first;
        while (last + 1 < lines.size() && !isCellMark(lines[last + 1]))
            ++last;
        return ofLines(lines, first, last);
    }
    qsizetype last = first;
    if (!isBlank(lines[first])) {
        const qsizetype depth = indentation(lines[first]);
        for (qsizetype i = first + 1; i < lines.size(); ++i) {
            if (isBlank(lines[i]))
                continue;
            if (indentation(lines[i]) <= depth)
                break;
            last = i;
        }
    }
    return ofLines(lines, first, last);
}

CodePiece CodePiece::ofLines(const QStringList &lines, qsizetype first, qsizetype last)
{
    std::optional<qsizetype> shared;
    for (qsizetype i = first; i <= last; ++i) {
        if (!isBlank(lines[i]))
            shared = std::min(shared.value_or(indentation(lines[i])), indentation(lines[i]));
    }
    CodePiece piece{{}, static_cast<int>(first + 1), static_cast<int>(last + 2)};
    if (!shared)
        return piece;
    for (qsizetype i = first; i <= last; ++i)
        piece.code += lines[i].mid(*shared) + u'\n';
    while (piece.code.endsWith(u'\n'))
        piece.code.chop(1);
    return piece;
}

bool CodePiece::startsBlock(const QString &code)
{
    static const QRegularExpression start(
        QStringLiteral("\\A(@|(if|while|for|try|with|def|class|async)\\b)"));
    return start.match(code).hasMatch();
}

} // namespace Korvane
