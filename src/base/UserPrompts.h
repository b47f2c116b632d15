#pragma once

#include <QCoro/QCoroTask>
#include <QList>
#include <QString>

#include <functional>
#include <optional>
#include <stop_token>

namespace Korvane {

/// All questions that the program asks the user. The window shows them in dialogs that do not stop
/// the event loop; tests answer them from a script. Main thread only.
///
/// One question is open at a time; the others are queued, those for actions of the user before
/// those of the assistant. Every question ends: closing it, or the window, counts as Cancel.
class UserPrompts
{
public:
    enum class Asker { User, Assistant };
    struct Texts
    {
        QString title;
        QString message;
        QString confirmTitle;
    };
    /// A warning with a confirming button, which is never the default, and Cancel.
    struct Confirmation
    {
        QString title;
        QString message;
        QString confirmTitle;
        /// Set to offer "Don't ask again for <path>".
        QString dontAskAgainPath;
        /// For whose action the question is asked; the question says so.
        Asker asker = Asker::User;
        /// Ends the question, queued or open, when stop is requested. Counts as Cancel.
        std::stop_token withdrawn = {};
        /// When set, called when the question is the next to be opened; its result replaces the
        /// texts above, so that what they say about files is looked up as late as possible. A
        /// question for an action of the user that is asked meanwhile is opened first, and then
        /// this is called again. Without a result the question is not opened, which counts as
        /// Cancel. The result is dropped when the question ends earlier.
        std::function<QCoro::Task<std::optional<Texts>>()> prepare = {};
    };
    struct ConfirmationAnswer
    {
        bool confirmed = false;
        bool dontAskAgain = false;
    };
    struct Answer
    {
        QString title;
        /// Something is lost by this answer.
        bool isDestructive = false;
    };
    /// A question with several answers, none of which is the default, and Cancel.
    struct Choice
    {
        QString title;
        QString message;
        QList<Answer> answers;
    };
    /// The steps that an operation is about to perform, each of which the user may exclude.
    struct Checklist
    {
        struct Entry
        {
            /// The heading above the entry; entries of one group are adjacent.
            QString group;
            QString name;
            QString detail;
            bool isChecked = true;
            /// Something is lost when the step is performed.
            bool isDestructive = false;
        };

        QString title;
        QString message;
        QString confirmTitle;
        QList<Entry> entries;
    };
    /// One line of text, with the confirming button as the default.
    struct NamePrompt
    {
        QString title;
        QString message;
        QString proposedName;
        QString confirmTitle;
        /// When set, returns why a name cannot be used, or an empty text when it can. The dialog
        /// stays open with the reason. Must not use objects that the dialog may outlive.
        std::function<QString(const QString &name)> problem = {};
    };

    virtual ~UserPrompts() = default;

    [[nodiscard]] virtual QCoro::Task<ConfirmationAnswer> confirm(Confirmation question) = 0;
    /// The index of the chosen answer; -1 when canceled.
    [[nodiscard]] virtual QCoro::Task<int> choose(Choice question) = 0;
    /// The indices of the entries that are checked; nothing when canceled.
    [[nodiscard]] virtual QCoro::Task<std::optional<QList<qsizetype>>> review(
        Checklist question) = 0;
    /// The name without the white space around it; empty when canceled.
    [[nodiscard]] virtual QCoro::Task<QString> askName(NamePrompt prompt) = 0;
    /// The chosen local path, starting in \p folder; empty when canceled. The dialog itself asks
    /// before replacing.
    [[nodiscard]] virtual QCoro::Task<QString> askSavePath(QString folder,
                                                           QString proposedName) = 0;
    /// The chosen local Python or text file, starting in \p folder; empty when canceled.
    [[nodiscard]] virtual QCoro::Task<QString> askOpenPath(QString folder) = 0;
};

} // namespace Korvane
