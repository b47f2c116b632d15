#include "board/IgnoreRules.h"

#include <QSet>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

using namespace Qt::StringLiterals;

/// `*` and `?` stand for characters of one name, `**` for any number of folders.
QString expressionOf(const QString &pattern)
{
    QString expression;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QStringView rest = QStringView(pattern).sliced(i);
        if (rest.startsWith(u"**/")) {
            expression += "(?:[^/]+/)*"_L1;
            i += 2;
        } else if (rest.startsWith(u"**")) {
            expression += ".*"_L1;
            ++i;
        } else if (rest[0] == u'*') {
            expression += "[^/]*"_L1;
        } else if (rest[0] == u'?') {
            expression += "[^/]"_L1;
        } else {
            // The whole text up to the next wildcard: escape() must not get half a surrogate pair.
            const auto end = std::find_if(rest.begin(), rest.end(), [](QChar character) {
                return character == u'*' || character == u'?';
            });
            const QStringView literal = rest.first(end - rest.begin());
            expression += QRegularExpression::escape(literal);
            i += literal.size() - 1;
        }
    }
    return expression;
}

} // namespace

IgnoreRules::IgnoreRules()
{
    add(u".git\n__pycache__/\n"_s);
}

void IgnoreRules::add(const QString &text)
{
    for (const QString &line : text.split(u'\n')) {
        QString pattern = line.trimmed();
        if (pattern.isEmpty() || pattern.startsWith(u'#'))
            continue;
        Rule rule;
        rule.isException = pattern.startsWith(u'!');
        if (rule.isException)
            pattern.remove(0, 1);
        rule.isOnlyForFolders = pattern.endsWith(u'/');
        if (rule.isOnlyForFolders)
            pattern.chop(1);
        // A pattern with a slash begins at the folder, one without matches at every level.
        const QString start = pattern.contains(u'/') ? QString() : u"(?:.*/)?"_s;
        if (pattern.startsWith(u'/'))
            pattern.remove(0, 1);
        rule.pattern =
            QRegularExpression(QRegularExpression::anchoredPattern(start + expressionOf(pattern)),
                               QRegularExpression::DotMatchesEverythingOption);
        if (!pattern.isEmpty())
            m_rules.append(std::move(rule));
    }
}

bool IgnoreRules::isExcluded(const QString &relativePath, bool isDirectory) const
{
    bool isExcluded = false;
    for (const Rule &rule : m_rules) {
        if ((isDirectory || !rule.isOnlyForFolders) && isExcluded == rule.isException
            && rule.pattern.match(relativePath).hasMatch())
            isExcluded = !rule.isException;
    }
    return isExcluded;
}

bool IgnoreRules::isIgnored(const QString &relativePath, bool isDirectory) const
{
    for (qsizetype slash = relativePath.indexOf(u'/'); slash >= 0;
         slash = relativePath.indexOf(u'/', slash + 1)) {
        if (isExcluded(relativePath.first(slash), true))
            return true;
    }
    return isExcluded(relativePath, isDirectory);
}

QList<CopyItem> IgnoreRules::keptOf(const QList<CopyItem> &items) const
{
    QSet<QString> leftOut;
    for (const CopyItem &item : items) {
        if (!item.isDirectory && item.relativePath.endsWith("/pyvenv.cfg"_L1))
            leftOut.insert(item.relativePath.section(u'/', 0, -2));
    }
    QList<CopyItem> kept;
    // Folders precede their contents, so only the parent of an entry has to be looked up.
    for (const CopyItem &item : items) {
        const bool isLeftOut = leftOut.contains(item.relativePath)
            || leftOut.contains(item.relativePath.section(u'/', 0, -2))
            || isExcluded(item.relativePath, item.isDirectory);
        if (!isLeftOut)
            kept.append(item);
        else if (item.isDirectory)
            leftOut.insert(item.relativePath);
    }
    return kept;
}

} // namespace Korvane
