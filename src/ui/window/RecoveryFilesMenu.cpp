#include "ui/window/RecoveryFilesMenu.h"

#include "document/RecoveryFiles.h"
#include "ui/controls/PlainText.h"

#include <QDateTime>
#include <QLocale>

namespace Korvane {

RecoveryFilesMenu::RecoveryFilesMenu(RecoveryFiles &copies, QMenu &view)
    : QMenu(tr("&Unsaved Files"), &view)
    , m_copies(copies)
{
    view.addMenu(this);
    setToolTipsVisible(true);
    connect(&copies, &RecoveryFiles::leftoversChanged, this, &RecoveryFilesMenu::fill);
    fill();
}

void RecoveryFilesMenu::fill()
{
    clear();
    for (const RecoveryFiles::Leftover &leftover : m_copies.leftovers()) {
        const QString time = QLocale().toString(leftover.editedAt, QLocale::ShortFormat);
        QAction *action =
            addAction(PlainText::label(tr("%1 — edited %2").arg(leftover.name, time)));
        action->setToolTip(PlainText::toolTip(leftover.place));
        connect(action, &QAction::triggered, this, [this, leftover] { m_copies.open(leftover); });
    }
    menuAction()->setVisible(!isEmpty());
}

} // namespace Korvane
