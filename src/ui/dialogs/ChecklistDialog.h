#pragma once

#include "base/UserPrompts.h"

#include <QDialog>

class QLabel;
class QPushButton;
class QTreeWidget;

namespace Korvane {

/// Shows what an operation is about to do as a list with check boxes, in groups that can be checked
/// as a whole. Cancel is the default; the confirming button is disabled while nothing is checked.
class ChecklistDialog final : public QDialog
{
    Q_OBJECT

public:
    ChecklistDialog(const UserPrompts::Checklist &question, QWidget *window);

    /// Indices of Checklist::entries, in ascending order.
    [[nodiscard]] QList<qsizetype> checkedEntries() const;

private:
    void fill(const QList<UserPrompts::Checklist::Entry> &entries);
    void showCount();

    QTreeWidget *m_list;
    QLabel *m_count;
    QPushButton *m_confirm;
};

} // namespace Korvane
