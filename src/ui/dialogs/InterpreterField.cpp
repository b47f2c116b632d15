#include "ui/dialogs/InterpreterField.h"

#include "app/AppState.h"
#include "theme/Theme.h"
#include "ui/dialogs/PreferenceControls.h"

#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QVBoxLayout>

#include <functional>
#include <utility>

namespace Korvane {

namespace {

/// Whether the program at \p path is a Python 3. Runs it, for five seconds at most.
bool isPython3(const QString &path)
{
    QProcess python;
    python.start(path,
                 {QStringLiteral("-I"), QStringLiteral("-c"),
                  QStringLiteral("import sys; print(sys.version_info[0])")});
    return python.waitForFinished(5'000) && python.readAllStandardOutput().trimmed() == "3";
}

} // namespace

InterpreterField::InterpreterField(AppState &state, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_path(new QComboBox)
    , m_problem(new QLabel)
{
    m_path->setObjectName(QStringLiteral("interpreter"));
    m_path->setEditable(true);
    m_path->lineEdit()->setAcceptDrops(
        false); // a file that is dropped with Shift would count as moved
    m_path->setInsertPolicy(QComboBox::NoInsert);
    m_path->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_path->setMinimumContentsLength(16);
    PreferenceControls::ignoreWheelWithoutFocus(m_path);
    setFocusProxy(m_path);
    auto *browseButton = new QPushButton(tr("Choose…"));
    browseButton->setAutoDefault(false);
    m_problem->setObjectName(QStringLiteral("interpreterProblem"));
    m_problem->setText(tr("There is no Python 3 at this path."));
    m_problem->hide();
    auto *row = new QHBoxLayout;
    row->addWidget(m_path, 1);
    row->addWidget(browseButton);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addLayout(row);
    column->addWidget(m_problem);

    listFound();
    connect(m_path->lineEdit(), &QLineEdit::editingFinished, this,
            [this] { choose(m_path->currentText()); });
    connect(m_path, &QComboBox::activated, this, [this] { choose(m_path->currentText()); });
    connect(browseButton, &QPushButton::clicked, this, &InterpreterField::browse);
    m_state.preferences().follow(Preferences::Interpreter, this, [this] { showChosen(); });
}

/// The usual interpreters, and virtual environments in the folder that is browsed.
QCoro::Task<void> InterpreterField::listFound()
{
    const QDir folder(m_state.localFiles().localWorkingDir());
    QList<QStringList> groups;
    groups << PythonRunner::defaultInterpreters();
    groups << QStringList{folder.filePath(QStringLiteral(".venv")),
                          folder.filePath(QStringLiteral("venv"))};
    // One after the other: the first item is the one that is used automatically.
    for (const QStringList &candidates : std::as_const(groups)) {
        const std::function<QStringList()> look = [candidates] {
            QStringList found = candidates;
            found.removeIf(
                [](const QString &path) { return PythonRunner::pythonAt(path).isEmpty(); });
            return found;
        };
        const auto found = co_await m_background.run(look);
        if (!found)
            co_return;
        const QString text = m_path->currentText();
        m_path->addItems(*found);
        if (m_path->currentText() != text) // Qt shows the first item of a list that was empty
            m_path->setEditText(text);
        showAutomatic();
    }
}

void InterpreterField::showChosen()
{
    m_path->setEditText(m_state.preferences().text(Preferences::Interpreter));
    showAutomatic();
    m_problem->hide();
}

void InterpreterField::showAutomatic()
{
    m_path->lineEdit()->setPlaceholderText(
        m_path->count() > 0 ? tr("Automatic: %1").arg(m_path->itemText(0))
                            : tr("Path of a Python or of a virtual environment"));
}

QCoro::Task<void> InterpreterField::choose(QString path)
{
    path = path.trimmed();
    const std::function<bool()> look = [path] {
        const QString python = PythonRunner::pythonAt(path);
        return path.isEmpty() || (!python.isEmpty() && isPython3(python));
    };
    const auto isPython = co_await m_background.run(look);
    if (!isPython || path != m_path->currentText().trimmed())
        co_return;
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, Theme::of(colors).color(Theme::Role::Red));
    m_problem->setPalette(colors);
    m_problem->setVisible(!*isPython);
    if (*isPython)
        m_state.preferences().setText(Preferences::Interpreter, path);
}

void InterpreterField::browse()
{
    auto *dialog = new QFileDialog(this, tr("Python or the python of a virtual environment"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFile);
    dialog->setDirectory(m_state.localFiles().localWorkingDir());
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString &path) {
        m_path->setEditText(path);
        choose(path);
    });
    dialog->open();
}

} // namespace Korvane
