#include "ui/dialogs/NameDialog.h"

#include "theme/Theme.h"
#include "ui/controls/WrappedLabel.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace Korvane {

NameDialog::NameDialog(const UserPrompts::NamePrompt &prompt, QWidget *window)
    : QDialog(window)
    , m_nameProblem(prompt.problem)
    , m_field(new QLineEdit(prompt.proposedName))
    , m_problem(new WrappedLabel(QString()))
{
    setWindowTitle(prompt.title);
    m_field->setAcceptDrops(false); // a file that is dropped with Shift would count as moved
    auto *label = new WrappedLabel(prompt.message);
    label->setBuddy(m_field);
    m_field->setObjectName(QStringLiteral("nameField"));
    m_field->setPlaceholderText(prompt.proposedName);
    m_field->setMinimumSize(260, 24);
    m_field->setAccessibleName(prompt.title);
    m_field->selectAll();
    m_problem->setObjectName(QStringLiteral("nameProblem"));
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, Theme::of(colors).color(Theme::Role::Red));
    m_problem->setPalette(colors);
    m_problem->hide();
    auto *buttons = new QDialogButtonBox;
    QPushButton *confirm = buttons->addButton(prompt.confirmTitle, QDialogButtonBox::AcceptRole);
    QPushButton *cancel = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    cancel->setAutoDefault(false);
    confirm->setDefault(true);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_field);
    layout->addWidget(m_problem, 1);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_field, &QLineEdit::textChanged, this, [this] {
        if (m_problem->isVisible()) // not before the first name was confirmed
            showProblem(findProblem());
    });
    m_field->setFocus();
}

QString NameDialog::name() const
{
    return m_field->text().trimmed();
}

void NameDialog::accept()
{
    const QString problem = findProblem();
    if (problem.isEmpty())
        QDialog::accept();
    else
        showProblem(problem);
}

/// Without a name the prompt counts as canceled.
QString NameDialog::findProblem() const
{
    return m_nameProblem && !name().isEmpty() ? m_nameProblem(name()) : QString();
}

/// Once shown, the label keeps its room, so that nothing moves while the name is corrected.
void NameDialog::showProblem(const QString &problem)
{
    m_problem->setText(problem);
    m_field->setAccessibleDescription(problem);
    if (problem.isEmpty())
        return;
    m_problem->show();
    adjustSize();
}

} // namespace Korvane
