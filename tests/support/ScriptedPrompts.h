#pragma once

#include "base/OneShot.h"
#include "base/UserPrompts.h"

#include <QStringList>

#include <functional>

namespace Korvane {

/// Records prompts and answers them with values that the test has set.
class ScriptedPrompts final : public UserPrompts
{
public:
    ConfirmationAnswer confirmation{true, false};
    // (Copied explicitly below: GCC 12 moves a member out of its object in co_return.)
    /// What is typed into the name prompt or chosen in a file dialog; empty cancels.
    QString name;
    /// The answer that is chosen where there are several; another one cancels.
    QString choice;
    /// Runs before the question is opened.
    std::function<void()> waiting = [] {};
    /// Runs while the question is open.
    std::function<void()> meanwhile = [] {};
    /// Whether the last confirmation was withdrawn while it was open.
    bool wasWithdrawn = false;

    /// "title | message | confirm title | don't ask again" and the like, one for each question.
    QStringList asked;
    [[nodiscard]] QString takeAsked() { return std::exchange(asked, {}).join(u'\n'); }

    QCoro::Task<ConfirmationAnswer> confirm(Confirmation question) override
    {
        waiting();
        if (question.prepare) {
            const std::optional<Texts> texts = co_await question.prepare();
            if (!texts)
                co_return ConfirmationAnswer();
            question.title = texts->title;
            question.message = texts->message;
            question.confirmTitle = texts->confirmTitle;
        }
        QStringList parts{question.title, question.message, question.confirmTitle};
        if (!question.dontAskAgainPath.isEmpty())
            parts << question.dontAskAgainPath;
        asked << parts.join(QStringLiteral(" | "));
        meanwhile();
        wasWithdrawn = question.withdrawn.stop_requested();
        co_return wasWithdrawn ? ConfirmationAnswer() : confirmation;
    }
    QCoro::Task<int> choose(Choice question) override
    {
        QStringList answers;
        for (const Answer &answer : question.answers)
            answers << answer.title;
        asked << QStringList({question.title, question.message, answers.join(u'/')})
                     .join(QStringLiteral(" | "));
        meanwhile();
        co_return int(answers.indexOf(choice));
    }
    QCoro::Task<std::optional<QList<qsizetype>>> review(Checklist question) override
    {
        QStringList parts{question.title, question.message};
        QList<qsizetype> checked;
        for (qsizetype i = 0; i < question.entries.size(); ++i) {
            const Checklist::Entry &entry = question.entries[i];
            parts << QStringList({entry.group, entry.name, entry.detail}).join(u' ');
            if (entry.isChecked || choice.contains(entry.name))
                checked << i;
        }
        asked << parts.join(QStringLiteral(" | "));
        meanwhile();
        co_return confirmation.confirmed ? std::optional(checked) : std::nullopt;
    }
    QCoro::Task<QString> askName(NamePrompt prompt) override
    {
        asked << QStringList(
                     {prompt.title, prompt.message, prompt.proposedName, prompt.confirmTitle})
                     .join(QStringLiteral(" | "));
        meanwhile();
        co_return QString(name);
    }
    QCoro::Task<QString> askSavePath(QString, QString proposedName) override
    {
        asked << QStringLiteral("save | ") + proposedName;
        meanwhile();
        co_return QString(name);
    }
    QCoro::Task<QString> askOpenPath(QString) override
    {
        asked << QStringLiteral("open");
        co_return QString(name);
    }
};

} // namespace Korvane
