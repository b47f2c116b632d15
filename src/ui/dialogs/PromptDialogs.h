#pragma once

#include "base/OneShot.h"
#include "base/UserPrompts.h"

#include <QPointer>
#include <QWidget>

#include <list>

class QDialog;

namespace Korvane {

/// Asks the person with dialogs on the window: opened, never run in an event loop of their own.
/// Without a window they stand alone, in front of everything. A question still open when this goes
/// counts as cancelled.
class PromptDialogs final : public UserPrompts
{
public:
    PromptDialogs() = default;
    PromptDialogs(const PromptDialogs &) = delete;
    PromptDialogs &operator=(const PromptDialogs &) = delete;
    ~PromptDialogs() override;

    /// Borrowed; may go before this.
    void setWindow(QWidget *window) { m_window = window; }

    [[nodiscard]] QCoro::Task<ConfirmationAnswer> confirm(Confirmation question) override;
    [[nodiscard]] QCoro::Task<int> choose(Choice question) override;
    [[nodiscard]] QCoro::Task<QString> askName(NamePrompt prompt) override;
    [[nodiscard]] QCoro::Task<QString> askSavePath(QString folder, QString proposedName) override;
    [[nodiscard]] QCoro::Task<QString> askOpenPath(QString folder) override;

private:
    /// Opens \p dialog, which deletes itself, and yields what \p answer reads from it when it was
    /// accepted; otherwise, and when this has gone, a default-made answer.
    template <typename T>
    [[nodiscard]] QCoro::Task<T> ask(QDialog *dialog, std::function<T()> answer);
    void open(QDialog *dialog);

    QPointer<QWidget> m_window;
    /// The ends of the questions that are open.
    std::list<OneShot<bool>> m_open;
    bool m_isEnding = false;
};

} // namespace Korvane
