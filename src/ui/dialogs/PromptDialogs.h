#pragma once

#include "base/Lifetime.h"
#include "base/OneShot.h"
#include "base/UserPrompts.h"

#include <QPointer>
#include <QWidget>

#include <chrono>
#include <functional>
#include <list>
#include <memory>

class QDialog;
class QPushButton;

namespace Korvane {

class QuestionDialog;

/// Asks the user with dialogs on the window: opened, never run in an event loop of their own, and
/// one after the other. Without a window the dialogs are application-modal. Questions that are open
/// or wait when this is destroyed count as canceled.
class PromptDialogs final : public UserPrompts
{
public:
    PromptDialogs() = default;
    PromptDialogs(const PromptDialogs &) = delete;
    PromptDialogs &operator=(const PromptDialogs &) = delete;
    ~PromptDialogs() override;

    /// Borrowed; may be destroyed before this.
    void setWindow(QWidget *window) { m_window = window; }
    /// \p stop stops the assistant's server. The assistant's questions offer it while it is set.
    void setStopServer(std::function<void()> stop) { m_stopServer = std::move(stop); }
    /// How long a dialog drops clicks and keys after it is painted, as InputGuard does; 0 for not
    /// at all.
    void setGuardTime(std::chrono::milliseconds time) { m_guardTime = time; }

    [[nodiscard]] QCoro::Task<ConfirmationAnswer> confirm(Confirmation question) override;
    [[nodiscard]] QCoro::Task<int> choose(Choice question) override;
    [[nodiscard]] QCoro::Task<std::optional<QList<qsizetype>>> review(Checklist question) override;
    [[nodiscard]] QCoro::Task<QString> askName(NamePrompt prompt) override;
    [[nodiscard]] QCoro::Task<QString> askSavePath(QString folder, QString proposedName) override;
    [[nodiscard]] QCoro::Task<QString> askOpenPath(QString folder) override;

private:
    class QueuePlace;
    struct Waiting
    {
        Asker asker = Asker::User;
        std::optional<OneShot<bool>> reachedFront = {};                  // set while it waits
        std::shared_ptr<OneShot<std::optional<Texts>>> preparation = {}; // set while it is prepared
        bool isOpen = false;
        bool hasEnded = false; // declined or withdrawn, and not yet out of the queue
    };

    /// Waits until no other question is open. Yields null when this is being destroyed, and when
    /// the question was withdrawn or declined while it waited.
    [[nodiscard]] QCoro::Task<std::unique_ptr<QueuePlace>> enterQueue(Asker asker,
                                                                      std::stop_token withdrawn);
    void endWait(Waiting &waiting);
    void declineAssistant();
    void showQueue();
    [[nodiscard]] QuestionDialog *makeQuestion(const Texts &texts, Asker asker);
    /// Opens \p dialog, which deletes itself, and yields what \p answer reads from it when it was
    /// accepted; otherwise, and when this has been destroyed, a default-constructed answer.
    template <typename T>
    [[nodiscard]] QCoro::Task<T> ask(QDialog *dialog, std::function<T()> answer);
    void open(QDialog *dialog);

    QPointer<QWidget> m_window;
    std::function<void()> m_stopServer;
    std::chrono::milliseconds m_guardTime{700};
    /// The first one is open or about to be opened. In the second case a question of the user is
    /// put before one of the assistant.
    std::list<Waiting> m_queue;
    QPointer<QuestionDialog> m_question;
    QPointer<QPushButton> m_declineAll; // the open question's
    /// The end of the question that is open.
    std::list<OneShot<bool>> m_open;
    bool m_isEnding = false;
    Lifetime m_life;
};

} // namespace Korvane
