#include "app/ChangedFiles.h"

#include "base/DisplayPath.h"
#include "base/ShellSink.h"
#include "base/UserPrompts.h"
#include "board/DeviceError.h"
#include "board/FolderSync.h"
#include "document/OpenFiles.h"

#include <algorithm>
#include <utility>

namespace Korvane {

using namespace Qt::StringLiterals;

namespace {

QString heading(FolderChanges::Kind kind)
{
    switch (kind) {
    case FolderChanges::Kind::New:
        return u"New"_s;
    case FolderChanges::Kind::Changed:
        return u"Changed"_s;
    case FolderChanges::Kind::OnlyOnBoard:
        break;
    }
    return u"Only on the device — check to delete"_s;
}

} // namespace

ChangedFiles::ChangedFiles(Dependencies dependencies)
    : m_dependencies(dependencies)
{
}

Async<void> ChangedFiles::send(QString localFolder, QString boardFolder)
{
    if (std::exchange(m_isSending, true))
        co_return DeviceError::canceled(u"Changed files are already being compared or sent."_s);
    const auto life = m_life.watch();
    const auto sent = co_await compareAndSend(std::move(localFolder), std::move(boardFolder));
    if (life)
        m_isSending = false;
    co_return sent;
}

Async<void> ChangedFiles::compareAndSend(QString localFolder, QString boardFolder)
{
    const auto life = m_life.watch();
    const QString name = displayPath(localFolder);
    const auto compared = co_await m_dependencies.sync.compare(localFolder, boardFolder);
    if (!life)
        co_return DeviceError::closed();
    if (!compared)
        co_return compared.error();
    CopyPlan plan;
    plan.skipped = compared->skipped;
    for (const QString &line : plan.skippedLines())
        m_dependencies.shell.appendInfo(line);
    if (compared->entries.isEmpty()) {
        m_dependencies.shell.appendInfo(
            u"%1 and %2 on the device hold the same %3; nothing was sent."_s.arg(
                name, boardFolder, countOfFiles(compared->unchangedCount)));
        co_return Result<void>();
    }
    UserPrompts::Checklist question;
    question.title = u"Send changed files to %1?"_s.arg(boardFolder);
    question.message = notes(*compared);
    question.confirmTitle = u"Send"_s;
    for (const FolderChanges::Entry &entry : compared->entries) {
        const bool isOnlyOnBoard = entry.kind == FolderChanges::Kind::OnlyOnBoard;
        UserPrompts::Checklist::Entry shown;
        shown.group = heading(entry.kind);
        shown.name = entry.relativePath;
        shown.detail = displaySize(entry.size);
        shown.isChecked = !isOnlyOnBoard;
        shown.isDestructive = isOnlyOnBoard;
        question.entries << shown;
    }
    const auto checked = co_await m_dependencies.prompts.review(std::move(question));
    if (!life)
        co_return DeviceError::closed();
    if (!checked || checked->isEmpty())
        co_return DeviceError::canceled(u"Sending canceled — nothing was changed."_s);
    FolderChanges chosen = *compared;
    chosen.entries.clear();
    for (const qsizetype index : *checked)
        chosen.entries << compared->entries.at(index);
    co_return co_await m_dependencies.sync.send(std::move(chosen));
}

QString ChangedFiles::notes(const FolderChanges &changes) const
{
    QString text = u"From %1. %2 unchanged."_s.arg(displayPath(changes.localFolder),
                                                   countOfFiles(changes.unchangedCount));
    const QList<EditorFile *> files = m_dependencies.documents.openFiles();
    const auto unsaved = std::count_if(files.cbegin(), files.cend(), [&](const EditorFile *file) {
        return file->isModified() && file->path().startsWith(changes.localFolder + u'/');
    });
    if (unsaved > 0)
        text += u" Unsaved edits in %1 of this folder are not sent."_s.arg(countOfFiles(unsaved));
    return text;
}

} // namespace Korvane
