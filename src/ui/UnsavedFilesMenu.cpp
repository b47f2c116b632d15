#include "ui/UnsavedFilesMenu.h"

#include "app/UnsavedCopies.h"
#include "ui/PlainText.h"

#include <QDateTime>
#include <QLocale>

namespace Korvane {

UnsavedFilesMenu::UnsavedFilesMenu(UnsavedCopies &copies, QMenu &view)
    : QMenu(tr("&Unsaved Files"), &view)
    , m_copies(copies)
{
    view.addMenu(this);
    setToolTipsVisible(true);
    connect(&copies, &UnsavedCopies::leftoversChanged, this, &UnsavedFilesMenu::fill);
    fill();
}

void UnsavedFilesMenu::fill()
{
    clear();
    for (const UnsavedCopies::Leftover &leftover : m_copies.leftovers()) {
        const QString time = QLocale().toString(leftover.editedAt, QLocale::ShortFormat);
        QAction *action =
            addAction(PlainText::label(tr("%1 — edited %2").arg(leftover.name, time)));
        action->setToolTip(PlainText::toolTip(leftover.place));
        connect(action, &QAction::triggered, this, [this, leftover] { m_copies.open(leftover); });
    }
    menuAction()->setVisible(!isEmpty());
}

} // namespace Korvane
