#include "app/ReplaceQuestion.h"

#include "base/DisplayPath.h"

#include <QSet>

namespace Korvane {

using namespace Qt::StringLiterals;

QCoro::Task<ReplaceAnswer> askToReplace(UserPrompts &prompts, QStringList names, QString where)
{
    if (names.isEmpty())
        co_return ReplaceAnswer::Replace;
    const bool isOne = names.size() == 1;
    UserPrompts::Choice question;
    question.title = isOne ? u"Replace “%1”?"_s.arg(names.first())
                           : u"Replace %1?"_s.arg(countOfFiles(names.size()));
    question.message =
        (isOne ? u"A file of this name already exists %1. Replacing it deletes what "
                 "it holds."_s.arg(where)
               : u"Files of these names already exist %1: %2. Replacing them deletes "
                 "what they hold."_s.arg(where, listOfNames(names)));
    const UserPrompts::Answer skip{u"Skip"_s, false};
    const UserPrompts::Answer replace{isOne ? u"Replace"_s : u"Replace All"_s, true};
    question.answers << skip << replace;
    const int answer = co_await prompts.choose(std::move(question));
    co_return answer == 1 ? ReplaceAnswer::Replace
        : answer == 0     ? ReplaceAnswer::Skip
                          : ReplaceAnswer::Cancel;
}

QString repeatedName(const QStringList &paths)
{
    QSet<QString> names;
    for (const QString &path : paths) {
        const QString name = path.section(u'/', -1);
        if (names.contains(name))
            return name;
        names.insert(name);
    }
    return {};
}

QString listOfNames(const QStringList &names, qsizetype limit)
{
    QStringList quoted;
    for (const QString &name : names.first(std::min(limit, names.size())))
        quoted << u'“' + name + u'”';
    const QString list = quoted.join(u", "_s);
    if (names.size() <= limit)
        return list;
    return u"%1 and %2 more"_s.arg(list, QString::number(names.size() - limit));
}

} // namespace Korvane
