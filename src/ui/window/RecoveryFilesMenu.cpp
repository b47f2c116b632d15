#include "ui/window/RecoveryFilesMenu.h"

#include "base/DisplayPath.h"
#include "base/UserPrompts.h"
#include "ui/controls/PlainText.h"

#include <QDateTime>
#include <QHash>
#include <QLocale>

namespace Korvane {

namespace {

/// One label for each leftover. Labels that are equal (the same name and minute) get the path of
/// their document, and a number if that is equal too.
QStringList labels(const QList<RecoveryFiles::Leftover> &leftovers)
{
    QStringList labels;
    QHash<QString, int> counts;
    for (const RecoveryFiles::Leftover &leftover : leftovers) {
        const QString time = QLocale().toString(leftover.editedAt, QLocale::ShortFormat);
        labels << RecoveryFilesMenu::tr("%1 — edited %2").arg(leftover.name, time);
        ++counts[labels.last()];
    }
    QHash<QString, int> used;
    for (qsizetype i = 0; i < labels.size(); ++i) {
        if (counts.value(labels[i]) > 1 && !leftovers[i].place.isEmpty())
            labels[i] += QStringLiteral(" — ") + displayPath(leftovers[i].place);
        const int number = ++used[labels[i]];
        if (number > 1)
            labels[i] += QStringLiteral(" (%1)").arg(number);
    }
    return labels;
}

} // namespace

RecoveryFilesMenu::RecoveryFilesMenu(RecoveryFiles &recovery, UserPrompts &prompts, QMenu &view)
    : QMenu(tr("&Unsaved Files"), &view)
    , m_recovery(recovery)
    , m_prompts(prompts)
{
    setObjectName(QStringLiteral("unsavedFiles"));
    view.addMenu(this);
    setToolTipsVisible(true);
    connect(&recovery, &RecoveryFiles::leftoversChanged, this, &RecoveryFilesMenu::fill);
    fill();
}

void RecoveryFilesMenu::fill()
{
    const QList<RecoveryFiles::Leftover> &leftovers = m_recovery.leftovers();
    clear();
    menuAction()->setVisible(!leftovers.isEmpty());
    if (leftovers.isEmpty())
        return;
    if (!m_discardMenu)
        m_discardMenu = new QMenu(tr("&Discard"), this);
    m_discardMenu->clear();
    const QStringList texts = labels(leftovers);
    for (qsizetype i = 0; i < leftovers.size(); ++i) {
        const RecoveryFiles::Leftover leftover = leftovers[i];
        QAction *open = addAction(PlainText::label(texts[i]));
        open->setToolTip(PlainText::toolTip(leftover.place));
        connect(open, &QAction::triggered, this, [this, leftover] { m_recovery.open(leftover); });
        QAction *remove = m_discardMenu->addAction(open->text());
        connect(remove, &QAction::triggered, this, [this, leftover] { discard({leftover}); });
    }
    m_discardMenu->addSeparator();
    QAction *removeAll = m_discardMenu->addAction(tr("&All"));
    connect(removeAll, &QAction::triggered, this, [this] { discard(m_recovery.leftovers()); });
    addSeparator();
    addMenu(m_discardMenu);
}

QCoro::Task<void> RecoveryFilesMenu::discard(QList<RecoveryFiles::Leftover> leftovers)
{
    UserPrompts::Confirmation question;
    question.title = leftovers.size() == 1
        ? tr("Discard the unsaved edits of “%1”?").arg(leftovers.first().name)
        : tr("Discard the unsaved edits of %n files?", nullptr, static_cast<int>(leftovers.size()));
    question.message = tr("They can’t be brought back.");
    question.confirmTitle = tr("Discard");
    const auto life = m_life.watch();
    const auto answer = co_await m_prompts.confirm(std::move(question));
    if (life && answer.confirmed)
        m_recovery.discard(std::move(leftovers));
}

} // namespace Korvane
