#include "ui/dialogs/PromptDialogs.h"

#include "ui/controls/WrappedLabel.h"
#include "ui/dialogs/QuestionDialog.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

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
    // Sizes, kinds and dates are there to be read whole.
    if (auto *list = dialog->findChild<QTreeView *>(QStringLiteral("treeView"))) {
        list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
        list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
        list->header()->setStretchLastSection(false);
    }
    return dialog;
}

} // namespace

PromptDialogs::~PromptDialogs()
{
    m_isEnding = true;
    std::list<OneShot<bool>> open;
    open.swap(m_open);
}

QCoro::Task<UserPrompts::ConfirmationAnswer> PromptDialogs::confirm(Confirmation question)
{
    if (question.withdrawn.stop_requested())
        co_return ConfirmationAnswer();
    auto *dialog = new QuestionDialog(question.title, question.message, m_window);
    const QPushButton *confirm =
        dialog->addAnswer(question.confirmTitle, QuestionDialog::Effect::Destructive);
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
    auto *dialog = new QuestionDialog(question.title, question.message, m_window);
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

QCoro::Task<QString> PromptDialogs::askName(NamePrompt prompt)
{
    auto *dialog = new QDialog(m_window);
    dialog->setWindowTitle(prompt.title);
    auto *label = new WrappedLabel(prompt.message);
    auto *field = new QLineEdit(prompt.proposedName);
    field->setObjectName(QStringLiteral("nameField"));
    field->setPlaceholderText(prompt.proposedName);
    field->setMinimumSize(260, 24);
    field->setAccessibleName(prompt.title);
    field->selectAll();
    label->setBuddy(field);
    auto *buttons = new QDialogButtonBox;
    QPushButton *confirm = buttons->addButton(prompt.confirmTitle, QDialogButtonBox::AcceptRole);
    QPushButton *cancel = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    cancel->setAutoDefault(false);
    confirm->setDefault(true);
    auto *layout = new QVBoxLayout(dialog);
    layout->addWidget(label);
    layout->addWidget(field);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    field->setFocus();
    const std::function<QString()> answer = [field] { return field->text().trimmed(); };
    co_return co_await ask(dialog, answer);
}

QCoro::Task<QString> PromptDialogs::askSavePath(QString folder, QString proposedName)
{
    if (!m_window || !m_window->isVisible())
        co_return QString();
    QFileDialog *dialog = makeFileDialog(m_window, tr("Save As"), folder);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->selectFile(proposedName);
    const std::function<QString()> answer = [dialog] { return dialog->selectedFiles().value(0); };
    co_return co_await ask(dialog, answer);
}

QCoro::Task<QString> PromptDialogs::askOpenPath(QString folder)
{
    QFileDialog *dialog = makeFileDialog(m_window, tr("Open File"), folder);
    dialog->setFileMode(QFileDialog::ExistingFile);
    const std::function<QString()> answer = [dialog] { return dialog->selectedFiles().value(0); };
    co_return co_await ask(dialog, answer);
}

template <typename T> QCoro::Task<T> PromptDialogs::ask(QDialog *dialog, std::function<T()> answer)
{
    OneShot<bool> &end = m_open.emplace_back();
    const auto position = std::prev(m_open.end());
    // The answer is read while the dialog still stands; the waiter runs later. A dialog that goes
    // with its window says nothing more.
    T given{};
    QObject::connect(dialog, &QDialog::finished, dialog,
                     [&end, &given, answer, dialog](int result) {
                         if (result != QDialog::Rejected)
                             given = answer();
                         end.deliver(true);
                     });
    open(dialog);
    const std::optional<bool> ended = co_await end.wait();
    // An answer may have come just before this goes: its end then goes with this.
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
    dialog->show();
}

} // namespace Korvane
