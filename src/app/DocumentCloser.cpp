#include "app/DocumentCloser.h"

#include "app/DocumentSaver.h"
#include "base/OneShot.h"
#include "base/UserPrompts.h"
#include "document/OpenFiles.h"

#include <QTimer>

#include <algorithm>
#include <chrono>
#include <memory>

namespace Korvane {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How long a disk may take that does not answer.
constexpr auto longestWrite = 2s;

/// Delivers true to \p end after \p writing, unless that has been destroyed.
QCoro::Task<void> deliverEnd(QCoro::Task<void> writing, std::weak_ptr<OneShot<bool>> end)
{
    co_await std::move(writing);
    if (const auto waiting = end.lock())
        waiting->deliver(true);
}

} // namespace

DocumentCloser::DocumentCloser(OpenFiles &documents, DocumentSaver &saver, UserPrompts &prompts,
                               std::function<bool()> asksBeforeClosing)
    : m_documents(documents)
    , m_saver(saver)
    , m_prompts(prompts)
    , m_asksBeforeClosing(std::move(asksBeforeClosing))
{
}

QCoro::Task<void> DocumentCloser::close(QUuid id)
{
    const EditorFile *file = m_documents.file(id);
    if (!file || m_closing.contains(id))
        co_return;
    const bool isKept = !m_recovery || m_recovery->keepsEdits();
    // A file may have been deleted on purpose: its text is kept without a question.
    const bool asks = file->isModified() ? m_asksBeforeClosing() || !isKept : !isKept;
    if (file->isUnsaved() && !asks) {
        m_documents.closeKeepingEdits(id);
        co_return;
    }
    if (file->isUnsaved()) {
        const auto life = m_life.watch();
        const bool mayClose = co_await saveOrDiscard(id);
        if (!life || !mayClose)
            co_return;
    }
    m_documents.closeFile(id);
}

QCoro::Task<bool> DocumentCloser::saveOrDiscard(QUuid id)
{
    const EditorFile &file = *m_documents.file(id);
    UserPrompts::Choice question;
    if (file.isModified()) {
        question.title = QStringLiteral("Save the changes to “") + file.name() + u"”?"_s;
        question.message = QStringLiteral("They are lost when the file is closed without saving.");
    } else {
        question.title = QStringLiteral("Save “") + file.name() + u"”?"_s;
        question.message = QStringLiteral(
            "Its file was deleted. The text is lost when it is closed without saving.");
    }
    question.answers << UserPrompts::Answer{QStringLiteral("Save"), false}
                     << UserPrompts::Answer{QStringLiteral("Don’t Save"), true};
    const auto life = m_life.watch();
    m_closing.insert(id);
    const int answer = co_await m_prompts.choose(std::move(question));
    if (!life)
        co_return false;
    m_closing.remove(id);
    if (answer != 0)
        co_return answer > 0;
    const bool isSaved = co_await m_saver.saveDocument(id);
    if (!life || !isSaved)
        co_return false;
    const EditorFile *saved = m_documents.file(id);
    co_return saved && !saved->isUnsaved(); // not edited meanwhile
}

bool DocumentCloser::mustPrepareEnd() const
{
    return losesEdits() || (m_recovery && m_recovery->hasPending());
}

QCoro::Task<bool> DocumentCloser::prepareEnd()
{
    const auto life = m_life.watch();
    bool isUnwritten = false;
    if (m_recovery && m_recovery->hasPending()) {
        const auto end = std::make_shared<OneShot<bool>>();
        const QObject context; // of the timer
        QTimer::singleShot(longestWrite, &context, [end] { end->deliver(false); });
        auto writing = m_recovery->writePending();
        deliverEnd(std::move(writing), end);
        const auto isWritten = co_await end->wait();
        if (!life)
            co_return false;
        isUnwritten = !isWritten.value_or(false);
    }
    QSet<QUuid> abandoned; // by the user
    const QHash<QUuid, Error> failures = m_saver.takeFailures();
    for (auto failure = failures.cbegin(); failure != failures.cend(); ++failure) {
        const EditorFile *file = m_documents.file(failure.key());
        if (!file || !file->isModified())
            continue;
        if (failure->code == ErrorCode::Canceled)
            co_return false;
        UserPrompts::Choice question;
        question.title = QStringLiteral("“") + file->name() + QStringLiteral("” was not saved");
        question.message = failure->message;
        if (!isUnwritten && !losesEdits())
            question.message +=
                QStringLiteral(" The next start offers its text in View › Unsaved Files.");
        question.answers << UserPrompts::Answer{QStringLiteral("Save As…"), false}
                         << UserPrompts::Answer{QStringLiteral("Close Without Saving"), true};
        const int answer = co_await m_prompts.choose(std::move(question));
        if (!life || answer < 0)
            co_return false;
        if (answer == 0) {
            const bool isSaved = co_await m_saver.saveDocumentAs(failure.key());
            if (!life || !isSaved)
                co_return false;
        } else {
            abandoned.insert(failure.key());
        }
    }
    QList<QUuid> unsaved;
    for (const EditorFile *file : m_documents.openFiles()) {
        if ((isUnwritten || losesEdits()) && file->isUnsaved() && !m_closing.contains(file->id())
            && !abandoned.contains(file->id()))
            unsaved << file->id();
    }
    for (const QUuid &id : unsaved) {
        if (!m_documents.file(id))
            continue;
        m_documents.select(id);
        const bool mayClose = co_await saveOrDiscard(id);
        if (!life || !mayClose)
            co_return false;
    }
    co_return true;
}

bool DocumentCloser::losesEdits() const
{
    const auto &files = m_documents.openFiles();
    return m_recovery && !m_recovery->keepsEdits()
        && std::any_of(files.begin(), files.end(),
                       [](const EditorFile *file) { return file->isUnsaved(); });
}

} // namespace Korvane
