#pragma once

#include <QCoro/QCoroTask>
#include <QList>
#include <QString>

#include <stop_token>

namespace Korvane {

/// Everything that the program asks the person, in one place. The window answers with dialogs that
/// do not stop the event loop; tests answer from a script. Main thread only.
///
/// Every question ends: closing it, or the window, counts as Cancel.
class UserPrompts
{
public:
    /// A warning with a confirming button, which is never the default, and Cancel.
    struct Confirmation
    {
        QString title;
        QString message;
        QString confirmTitle;
        /// Set to offer "Don't ask again for <path>".
        QString dontAskAgainPath;
        /// Closes the question when requested, which counts as Cancel.
        std::stop_token withdrawn = {};
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
    /// One line of text, with the confirming button as the default.
    struct NamePrompt
    {
        QString title;
        QString message;
        QString proposedName;
        QString confirmTitle;
    };

    virtual ~UserPrompts() = default;

    [[nodiscard]] virtual QCoro::Task<ConfirmationAnswer> confirm(Confirmation question) = 0;
    /// The index of the chosen answer; -1 when cancelled.
    [[nodiscard]] virtual QCoro::Task<int> choose(Choice question) = 0;
    /// The name without the white space around it; empty when cancelled.
    [[nodiscard]] virtual QCoro::Task<QString> askName(NamePrompt prompt) = 0;
    /// The chosen local path, starting in \p folder; empty when cancelled. The dialog itself asks
    /// before replacing.
    [[nodiscard]] virtual QCoro::Task<QString> askSavePath(QString folder,
                                                           QString proposedName) = 0;
    /// The chosen local Python or text file, starting in \p folder; empty when cancelled.
    [[nodiscard]] virtual QCoro::Task<QString> askOpenPath(QString folder) = 0;
};

} // namespace Korvane
