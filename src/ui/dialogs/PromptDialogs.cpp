#include "ui/dialogs/PromptDialogs.h"

#include "ui/dialogs/ChecklistDialog.h"
#include "ui/dialogs/InputGuard.h"
#include "ui/dialogs/NameDialog.h"
#include "ui/dialogs/QuestionDialog.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QFileDialog>
#include <QHeaderView>
#include <QPointer>
#include <QPushButton>
#include <QTreeView>

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

namespace Korvane {

namespace {

constexpr QSize fileDialogSize(760, 460);

QString tr(const char *text)
{
    return QCoreApplication::translate("PromptDialogs", text);
}

QFileDialog *makeFileDialog(QWidget *window, const QString &title, const QString &folder)
{
    auto *dialog = new QFileDialog(window, title, folder);
    // Qt's own, so that it looks and behaves alike on every desktop.
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    dialog->setNameFilters({tr("Python and text files (*.py *.pyi *.txt *.md *.json *.toml *.csv)"),
                            tr("All files (*)")});
    dialog->resize(fileDialogSize);
    // So that sizes, types and dates are not elided.
    if (auto *list = dialog->findChild<QTreeView *>(QStringLiteral("treeView"))) {
        list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
        list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        list->header()->setStretchLastSection(false);
    }
    return dialog;
}

} // namespace

/// The place of one question in the queue, held by its coroutine. The destructor removes the place,
/// and the next question is opened.
class PromptDialogs::QueuePlace final
{
public:
    QueuePlace(PromptDialogs &prompts, std::list<Waiting>::iterator place)
        : m_prompts(prompts)
        , m_place(place)
        , m_life(prompts.m_life.watch())
    {
    }
    ~QueuePlace()
    {
        if (!m_life || m_prompts.m_isEnding)
            return;
        m_prompts.m_queue.erase(m_place);
        if (!m_prompts.m_queue.empty() && m_prompts.m_queue.front().reachedFront)
            m_prompts.m_queue.front().reachedFront->deliver(true);
        m_prompts.showQueue();
    }
    QueuePlace(const QueuePlace &) = delete;
    QueuePlace &operator=(const QueuePlace &) = delete;

    /// Waits until the question is the first one. Yields false when it has ended before.
    [[nodiscard]] QCoro::Task<bool> begin(std::stop_token withdrawn)
    {
        const std::stop_callback withdrawal(withdrawn, [this] { m_prompts.endWait(*m_place); });
        while (!hasEnded() && !isFirst()) {
            OneShot<bool> &reachedFront = m_place->reachedFront.emplace();
            co_await reachedFront.wait();
        }
        co_return !hasEnded();
    }
    /// Looks the texts up. Yields nothing when there are none or the question has ended meanwhile.
    [[nodiscard]] QCoro::Task<std::optional<Texts>> prepare(Confirmation question)
    {
        m_place->preparation = std::make_shared<OneShot<std::optional<Texts>>>();
        OneShot<std::optional<Texts>> &preparation = *m_place->preparation;
        deliverTexts(question.prepare, m_place->preparation);
        const std::stop_callback withdrawal(question.withdrawn,
                                            [this] { m_prompts.endWait(*m_place); });
        const auto texts = co_await preparation.wait();
        if (!texts || hasEnded())
            co_return std::nullopt;
        m_place->preparation.reset();
        co_return *texts;
    }
    void setOpen() { m_place->isOpen = true; }

    [[nodiscard]] bool isFirst() const { return m_place == m_prompts.m_queue.begin(); }
    [[nodiscard]] bool hasEnded() const
    {
        return !m_life || m_prompts.m_isEnding || m_place->hasEnded;
    }

private:
    static QCoro::Task<void> deliverTexts(
        std::function<QCoro::Task<std::optional<Texts>>()> prepare,
        std::weak_ptr<OneShot<std::optional<Texts>>> receiver)
    {
        std::optional<Texts> texts = co_await prepare();
        if (const auto preparation = receiver.lock())
            preparation->deliver(std::move(texts));
    }

    PromptDialogs &m_prompts;
    std::list<Waiting>::iterator m_place;
    Lifetime::Watch m_life;
};

PromptDialogs::~PromptDialogs()
{
    m_isEnding = true;
    std::list<OneShot<bool>> open;
    open.swap(m_open);
    std::list<Waiting> queue;
    queue.swap(m_queue);
}

QCoro::Task<std::unique_ptr<PromptDialogs::QueuePlace>> PromptDialogs::enterQueue(
    Asker asker, std::stop_token withdrawn)
{
    std::unique_ptr<QueuePlace> place;
    if (withdrawn.stop_requested())
        co_return place;
    auto waiting = m_queue.end();
    if (asker == Asker::User)
        waiting = std::find_if(m_queue.begin(), m_queue.end(), [](const Waiting &other) {
            return other.asker == Asker::Assistant && !other.isOpen;
        });
    waiting = m_queue.emplace(waiting);
    waiting->asker = asker;
    place = std::make_unique<QueuePlace>(*this, waiting);
    showQueue();
    if (!co_await place->begin(withdrawn))
        place.reset();
    co_return place;
}

/// Resumes the question's coroutine, which leaves the queue.
void PromptDialogs::endWait(Waiting &waiting)
{
    waiting.hasEnded = true;
    if (waiting.reachedFront)
        waiting.reachedFront->deliver(false);
    if (waiting.preparation) {
        // With std::nullopt as the argument, GCC 12 warns that it is used uninitialized.
        static const std::optional<Texts> nothing;
        waiting.preparation->deliver(nothing);
    }
}

void PromptDialogs::declineAssistant()
{
    for (Waiting &waiting : m_queue) {
        if (waiting.asker == Asker::Assistant)
            endWait(waiting);
    }
    showQueue();
}

void PromptDialogs::showQueue()
{
    if (!m_question || m_queue.empty())
        return;
    const auto count = [this](auto &&counts) {
        return std::count_if(std::next(m_queue.begin()), m_queue.end(), [&](const Waiting &other) {
            return !other.hasEnded && counts(other.asker);
        });
    };
    const auto waiting = count([](Asker) { return true; });
    const bool isAssistant = m_queue.front().asker == Asker::Assistant;
    const QString asker = isAssistant ? tr("Asked by the assistant") : tr("Asked for your action");
    m_question->setCaption(
        waiting == 0 ? (isAssistant ? asker : QString())
            : waiting == 1
            ? tr("%1 — 1 more question is waiting").arg(asker)
            : tr("%1 — %2 more questions are waiting").arg(asker, QString::number(waiting)));
    if (m_declineAll)
        m_declineAll->setVisible(count([](Asker by) { return by == Asker::Assistant; }) > 0);
}

QuestionDialog *PromptDialogs::makeQuestion(const Texts &texts, Asker asker)
{
    m_question = new QuestionDialog(texts.title, texts.message, m_window);
    if (asker == Asker::Assistant) {
        const auto harmless = QuestionDialog::Effect::Harmless;
        if (m_stopServer) {
            QPushButton *stop = m_question->addAnswer(tr("Stop MCP Server"), harmless);
            QObject::connect(stop, &QPushButton::clicked, stop, [this] {
                declineAssistant();
                m_stopServer();
            });
        }
        // The last one: the gap that it leaves while it is hidden is at the end.
        m_declineAll = m_question->addAnswer(tr("Decline All"), harmless);
        QObject::connect(m_declineAll, &QPushButton::clicked, m_declineAll,
                         [this] { declineAssistant(); });
    }
    showQueue();
    return m_question;
}

QCoro::Task<UserPrompts::ConfirmationAnswer> PromptDialogs::confirm(Confirmation question)
{
    const std::unique_ptr<QueuePlace> place =
        co_await enterQueue(question.asker, question.withdrawn);
    if (!place)
        co_return ConfirmationAnswer();
    Texts texts;
    texts.title = question.title;
    texts.message = question.message;
    texts.confirmTitle = question.confirmTitle;
    bool isPrepared = !question.prepare;
    while (!isPrepared) {
        const std::optional<Texts> prepared = co_await place->prepare(question);
        if (!prepared)
            co_return ConfirmationAnswer();
        texts = *prepared;
        isPrepared = place->isFirst(); // after a question of the user the texts are out of date
        if (!isPrepared && !co_await place->begin(question.withdrawn))
            co_return ConfirmationAnswer();
    }
    place->setOpen();
    QuestionDialog *dialog = makeQuestion(texts, question.asker);
    const QPushButton *confirm =
        dialog->addAnswer(texts.confirmTitle, QuestionDialog::Effect::Destructive);
    const QCheckBox *dontAskAgain = nullptr;
    if (!question.dontAskAgainPath.isEmpty())
        dontAskAgain =
            dialog->addPathOption(tr("Don't ask again for %1"), question.dontAskAgainPath);
    const std::function<ConfirmationAnswer()> answer = [dialog, confirm, dontAskAgain] {
        return ConfirmationAnswer{dialog->chosen() == confirm,
                                  dontAskAgain && dontAskAgain->isChecked()};
    };
    const std::stop_callback withdrawal(question.withdrawn, [open = QPointer<QDialog>(dialog)] {
        if (open)
            open->reject();
    });
    co_return co_await ask(dialog, answer);
}

QCoro::Task<int> PromptDialogs::choose(Choice question)
{
    const std::unique_ptr<QueuePlace> place = co_await enterQueue(Asker::User, std::stop_token());
    if (!place)
        co_return -1;
    Texts texts;
    texts.title = question.title;
    texts.message = question.message;
    QuestionDialog *dialog = makeQuestion(texts, Asker::User);
    QList<const QPushButton *> buttons;
    for (const Answer &answer : std::as_const(question.answers)) {
        buttons << dialog->addAnswer(answer.title,
                                     answer.isDestructive ? QuestionDialog::Effect::Destructive
                                                          : QuestionDialog::Effect::Harmless);
    }
    // One more than the index: a question that is not answered yields 0.
    const std::function<int()> chosen = [dialog, buttons] {
        return static_cast<int>(buttons.indexOf(dialog->chosen())) + 1;
    };
    const int number = co_await ask(dialog, chosen);
    co_return number - 1;
}

QCoro::Task<std::optional<QList<qsizetype>>> PromptDialogs::review(Checklist question)
{
    const std::unique_ptr<QueuePlace> place = co_await enterQueue(Asker::User, std::stop_token());
    if (!place)
        co_return std::nullopt;
    auto *dialog = new ChecklistDialog(question, m_window);
    const std::function<std::optional<QList<qsizetype>>()> answer = [dialog] {
        return std::optional(dialog->checkedEntries());
    };
    co_return co_await ask(dialog, answer);
}

QCoro::Task<QString> PromptDialogs::askName(NamePrompt prompt)
{
    const std::unique_ptr<QueuePlace> place = co_await enterQueue(Asker::User, std::stop_token());
    if (!place)
        co_return QString();
    auto *dialog = new NameDialog(prompt, m_window);
    const std::function<QString()> answer = [dialog] { return dialog->name(); };
    co_return co_await ask(dialog, answer);
}

QCoro::Task<QString> PromptDialogs::askSavePath(QString folder, QString proposedName)
{
    if (!m_window || !m_window->isVisible())
        co_return QString();
    const std::unique_ptr<QueuePlace> place = co_await enterQueue(Asker::User, std::stop_token());
    if (!place)
        co_return QString();
    QFileDialog *dialog = makeFileDialog(m_window, tr("Save As"), folder);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    // Qt would show the name as markup; the caller asks.
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->selectFile(proposedName);
    const std::function<QString()> answer = [dialog] { return dialog->selectedFiles().value(0); };
    co_return co_await ask(dialog, answer);
}

QCoro::Task<QString> PromptDialogs::askOpenPath(QString folder)
{
    const std::unique_ptr<QueuePlace> place = co_await enterQueue(Asker::User, std::stop_token());
    if (!place)
        co_return QString();
    QFileDialog *dialog = makeFileDialog(m_window, tr("Open File"), folder);
    dialog->setFileMode(QFileDialog::ExistingFile);
    const std::function<QString()> answer = [dialog] { return dialog->selectedFiles().value(0); };
    co_return co_await ask(dialog, answer);
}

template <typename T> QCoro::Task<T> PromptDialogs::ask(QDialog *dialog, std::function<T()> answer)
{
    OneShot<bool> &end = m_open.emplace_back();
    const auto position = std::prev(m_open.end());
    // The answer is read while the dialog exists; the waiter runs later. A dialog that is destroyed
    // with its window emits nothing.
    T given{};
    QObject::connect(dialog, &QDialog::finished, dialog, [&end, &given, answer](int result) {
        if (result != QDialog::Rejected)
            given = answer();
        end.deliver(true);
    });
    open(dialog);
    const std::optional<bool> ended = co_await end.wait();
    // The answer may be undelivered when this is destroyed; the entry is then destroyed, too.
    if (!ended || m_isEnding)
        co_return T{};
    m_open.erase(position);
    co_return given;
}

void PromptDialogs::open(QDialog *dialog)
{
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (m_window && m_window->isVisible())
        dialog->setWindowModality(Qt::WindowModal);
    else
        dialog->setWindowModality(Qt::ApplicationModal);
    if (m_guardTime.count() > 0)
        new InputGuard(*dialog, m_guardTime);
    dialog->show();
}

} // namespace Korvane
