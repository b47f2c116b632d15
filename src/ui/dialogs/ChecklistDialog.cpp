#include "ui/dialogs/ChecklistDialog.h"

#include "base/VisibleText.h"
#include "theme/Theme.h"
#include "ui/controls/PlainText.h"
#include "ui/controls/WrappedLabel.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace Korvane {

namespace {

constexpr QSize dialogSize(560, 440);
constexpr int rowPadding = 8;
constexpr int indexRole = Qt::UserRole;

} // namespace

ChecklistDialog::ChecklistDialog(const UserPrompts::Checklist &question, QWidget *window)
    : QDialog(window)
    , m_list(new QTreeWidget)
    , m_count(new QLabel)
{
    setWindowTitle(tr("Korvane"));
    setAccessibleDescription(VisibleText::line(question.title + u' ' + question.message));
    auto *title = new WrappedLabel(question.title);
    title->setFont(Theme::headlineFont(font()));
    auto *message = new WrappedLabel(question.message);
    m_count->setFont(Theme::captionFont(font()));
    m_count->setForegroundRole(QPalette::PlaceholderText);
    auto *buttons = new QDialogButtonBox;
    m_confirm =
        buttons->addButton(PlainText::label(question.confirmTitle), QDialogButtonBox::AcceptRole);
    m_confirm->setAutoDefault(false);
    QPushButton *cancel = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    cancel->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    m_list->setObjectName(QStringLiteral("checklist"));
    m_list->setAccessibleName(question.title);
    m_list->setColumnCount(2);
    m_list->setHeaderHidden(true);
    m_list->setUniformRowHeights(true);
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    m_list->setTextElideMode(Qt::ElideMiddle);
    fill(question.entries);

    // Checking a group emits itemChanged for each of its entries; they are counted once after that.
    auto *counting = new QTimer(this);
    counting->setSingleShot(true);
    connect(counting, &QTimer::timeout, this, &ChecklistDialog::showCount);
    connect(m_list, &QTreeWidget::itemChanged, counting, qOverload<>(&QTimer::start));

    auto *column = new QVBoxLayout(this);
    column->addWidget(title);
    column->addWidget(message);
    column->addWidget(m_list, 1);
    column->addWidget(m_count);
    column->addWidget(buttons);
    resize(dialogSize);
    showCount();
    m_list->setFocus();
}

void ChecklistDialog::fill(const QList<UserPrompts::Checklist::Entry> &entries)
{
    const int rowHeight = fontMetrics().height() + rowPadding;
    QTreeWidgetItem *group = nullptr;
    QString shown;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const UserPrompts::Checklist::Entry &entry = entries[i];
        if (!group || entry.group != shown) {
            shown = entry.group;
            group = new QTreeWidgetItem(m_list, {VisibleText::line(shown), QString()});
            group->setFlags(group->flags() | Qt::ItemIsAutoTristate | Qt::ItemIsUserCheckable);
            group->setFont(0, Theme::headlineFont(font()));
            group->setSizeHint(0, QSize(0, rowHeight));
            group->setExpanded(true);
        }
        auto *row = new QTreeWidgetItem(group, {VisibleText::line(entry.name), entry.detail});
        row->setCheckState(0, entry.isChecked ? Qt::Checked : Qt::Unchecked);
        row->setSizeHint(0, QSize(0, rowHeight));
        row->setTextAlignment(1, Qt::AlignRight | Qt::AlignVCenter);
        row->setToolTip(0, PlainText::toolTip(entry.name));
        row->setData(0, indexRole, i);
        if (entry.isDestructive)
            row->setForeground(0, Theme::of(palette()).color(Theme::Role::Red));
    }
    m_list->setCurrentItem(m_list->topLevelItem(0));
}

QList<qsizetype> ChecklistDialog::checkedEntries() const
{
    QList<qsizetype> checked;
    for (int g = 0; g < m_list->topLevelItemCount(); ++g) {
        const QTreeWidgetItem *group = m_list->topLevelItem(g);
        for (int i = 0; i < group->childCount(); ++i) {
            if (group->child(i)->checkState(0) == Qt::Checked)
                checked << group->child(i)->data(0, indexRole).value<qsizetype>();
        }
    }
    return checked;
}

void ChecklistDialog::showCount()
{
    const qsizetype count = checkedEntries().size();
    m_count->setText(count == 1 ? tr("1 file checked") : tr("%1 files checked").arg(count));
    m_confirm->setEnabled(count > 0);
}

} // namespace Korvane
