#include "ui/dialogs/PreferencesDialog.h"

#include "app/AppState.h"
#include "mcp/MCPServer.h"
#include "theme/Theme.h"
#include "ui/controls/WrappedLabel.h"
#include "ui/dialogs/BaudRateField.h"
#include "ui/dialogs/InterpreterField.h"
#include "ui/dialogs/PreferenceControls.h"
#include "ui/window/Translations.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

constexpr int margin = 16;
constexpr int spaceAboveSection = 14;

} // namespace

PreferencesDialog::PreferencesDialog(AppState &state, MCPServer &server, QWidget *window)
    : QDialog(window)
    , m_state(state)
    , m_server(server)
    , m_search(new QLineEdit)
    , m_scroll(new QScrollArea)
    , m_nothingFound(new QLabel(tr("No preference matches.")))
{
    setObjectName(QStringLiteral("preferences"));
    m_search->setAcceptDrops(false); // a file that is dropped with Shift would count as moved
    setWindowTitle(tr("Preferences"));
    m_search->setObjectName(QStringLiteral("preferenceSearch"));
    m_search->setPlaceholderText(tr("Search preferences"));
    m_search->setAccessibleName(m_search->placeholderText());
    m_search->setClearButtonEnabled(true);
    m_nothingFound->setForegroundRole(QPalette::PlaceholderText);
    m_nothingFound->hide();

    auto *page = new QWidget;
    auto *pageColumn = new QVBoxLayout(page);
    m_grid = new QGridLayout;
    m_grid->setColumnStretch(1, 1);
    m_grid->setHorizontalSpacing(12);
    pageColumn->setContentsMargins(margin, 0, margin, margin);
    pageColumn->addLayout(m_grid);
    pageColumn->addWidget(m_nothingFound);
    pageColumn->addStretch();
    m_scroll->setWidget(page);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, margin, 0, 0);
    auto *searchRow = new QHBoxLayout;
    searchRow->setContentsMargins(margin, 0, margin, 0);
    searchRow->addWidget(m_search);
    column->addLayout(searchRow);
    column->addWidget(m_scroll, 1);

    addEditorSection();
    addShellSection();
    addWindowSection();
    addDocumentSection();
    addRunSection();
    addServerSection();
    connect(m_search, &QLineEdit::textChanged, this, &PreferencesDialog::search);
    m_search->setFocus();
}

void PreferencesDialog::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (std::exchange(m_isSized, true))
        return;
    // Measured only now, when the widgets have their fonts.
    const int width = m_scroll->widget()->minimumSizeHint().width()
        + m_scroll->verticalScrollBar()->sizeHint().width();
    const QSize wanted(std::max(width, 620), 600);
    const QSize room = screen()->availableSize();
    resize(wanted.boundedTo(QSize(room.width(), room.height() * 9 / 10)));
}

void PreferencesDialog::addEditorSection()
{
    Preferences &preferences = m_state.preferences();
    addSection(tr("Editor"));
    addRow(tr("Editor font"), Preferences::EditorFont,
           PreferenceControls::makeFontFamily(preferences, Preferences::EditorFont),
           tr("the desktop’s"));
    addNumber(tr("Editor font size"), Preferences::EditorFontSize, tr(" px"));
    addNumber(tr("Indent width"), Preferences::IndentWidth, tr(" spaces"));
    addRow(tr("Mark after column"), Preferences::LineLengthMark,
           PreferenceControls::makeNumber(preferences, Preferences::LineLengthMark, {}, tr("None")),
           tr("none"), tr("A line in the editor shows how long lines may become."));
    addFlag(tr("Show spaces and tabs as symbols"), Preferences::ShowBlanks);
}

void PreferencesDialog::addShellSection()
{
    Preferences &preferences = m_state.preferences();
    addSection(tr("Shell"));
    addRow(tr("Shell font"), Preferences::ShellFont,
           PreferenceControls::makeFontFamily(preferences, Preferences::ShellFont),
           tr("the desktop’s"));
    addRow(tr("Shell font size"), Preferences::ShellFontSize,
           PreferenceControls::makeNumber(preferences, Preferences::ShellFontSize, tr(" px"),
                                          tr("The desktop’s size")),
           tr("the desktop’s"));
    addNumber(tr("Output kept"), Preferences::ShellOutputLimit, tr(" MB"),
              tr("Older output is removed from the Shell."));
    addFlag(tr("Show the REPL’s own messages around a run"), Preferences::ShowReplMessages);
    addFlag(tr("Keep the input history between starts"), Preferences::KeepShellHistory,
            tr("Turning it off deletes the file with the history."));
}

void PreferencesDialog::addWindowSection()
{
    Preferences &preferences = m_state.preferences();
    addSection(tr("Window"));
    addRow(tr("Appearance"), Preferences::Appearance,
           PreferenceControls::makeChoice(preferences, Preferences::Appearance,
                                          {{QStringLiteral("system"), tr("As the desktop")},
                                           {QStringLiteral("light"), tr("Light")},
                                           {QStringLiteral("dark"), tr("Dark")}}),
           tr("as the desktop"));
    PreferenceControls::Choices languages{{QString(), tr("As the system")}};
    for (const QString &language : Translations::available())
        languages.append({language, Translations::nameOf(language)});
    addRow(tr("Language"), Preferences::Language,
           PreferenceControls::makeChoice(preferences, Preferences::Language, languages),
           tr("as the system"),
           languages.size() > 2 ? tr("Takes effect at the next start.")
                                : tr("English is the only language that is installed."));
}

void PreferencesDialog::addDocumentSection()
{
    Preferences &preferences = m_state.preferences();
    addSection(tr("Documents"));
    addRow(tr("At the start, open"), Preferences::RestoreAtStart,
           PreferenceControls::makeChoice(preferences, Preferences::RestoreAtStart,
                                          {{QStringLiteral("all"), tr("The last files and folder")},
                                           {QStringLiteral("folder"), tr("The last folder")},
                                           {QStringLiteral("nothing"), tr("An empty file")}}),
           tr("the last ones"));
    addFlag(tr("Keep unsaved edits in recovery files"), Preferences::KeepRecoveryFiles,
            tr("They are kept after a crash and when the program ends: View › Unsaved Files."));
    addFlag(tr("Ask before closing a tab with unsaved edits"), Preferences::AskBeforeClosing,
            tr("Otherwise it closes at once, and its edits are in View › Unsaved Files. Without "
               "recovery files, Korvane asks in any case."));
}

void PreferencesDialog::addRunSection()
{
    addSection(tr("Python and board"));
    addRow(tr("Python"), Preferences::Interpreter, new InterpreterField(m_state), tr("automatic"),
           tr("For programs that run on this computer: a Python, or the folder of a virtual "
              "environment. A change restarts the local session."));
    addFlag(tr("Connect a board again that was unplugged"), Preferences::ReconnectBoards,
            tr("When it is plugged in again, unless it was disconnected by command."));
    addRow(
        tr("Baud rate of port"), new BaudRateField(m_state),
        tr("Takes effect at the next connection. Default: %1.").arg(Preferences::defaultBaudRate));
}

void PreferencesDialog::addServerSection()
{
    addSection(tr("Assistant’s server"));
    addFlag(tr("Start the server when the program starts"), Preferences::StartServer);
    addFlag(tr("Let the assistant write and delete on the board without asking"),
            Preferences::WriteWithoutAsking);
    const QString again =
        tr("Assistants must be registered again: Claude › Copy Connection Command.");
    addNumber(tr("Server port"), Preferences::ServerPort, {}, again);
    auto *renew = new QPushButton(tr("New Token…"));
    renew->setObjectName(QStringLiteral("newToken"));
    renew->setAutoDefault(false);
    connect(renew, &QPushButton::clicked, this, [this] { askForNewToken(); });
    addRow(tr("Access token"), renew, again);
}

void PreferencesDialog::addSection(const QString &title)
{
    auto *label = new QLabel(title);
    label->setFont(Theme::headlineFont(font()));
    label->setContentsMargins(0, m_sections.isEmpty() ? 4 : spaceAboveSection, 0, 2);
    m_grid->addWidget(label, m_grid->rowCount(), 0, 1, 3);
    m_sections << label;
}

void PreferencesDialog::addRow(const QString &title, QWidget *control, const QString &note)
{
    auto *label = new QLabel(title);
    const int row = m_grid->rowCount();
    m_grid->addWidget(label, row, 0);
    m_grid->addWidget(control, row, 1, 1, 2,
                      qobject_cast<QPushButton *>(control) ? Qt::AlignLeft : Qt::Alignment());
    finishRow(title, {label, control}, note);
}

void PreferencesDialog::addRow(const QString &title, Preferences::Id id, QWidget *control,
                               const QString &defaultText, const QString &note)
{
    auto *label = new QLabel(title);
    QWidget *reset = makeReset(title, id, defaultText);
    const int row = m_grid->rowCount();
    const bool isNumber = qobject_cast<QSpinBox *>(control);
    control->setAccessibleName(title);
    m_grid->addWidget(label, row, 0);
    m_grid->addWidget(control, row, 1, isNumber ? Qt::AlignLeft : Qt::Alignment());
    m_grid->addWidget(reset, row, 2, Qt::AlignRight);
    finishRow(title, {label, control, reset}, note);
}

void PreferencesDialog::addNumber(const QString &title, Preferences::Id id, const QString &suffix,
                                  const QString &note)
{
    addRow(title, id, PreferenceControls::makeNumber(m_state.preferences(), id, suffix),
           QString::number(Preferences::definition(id).defaultNumber) + suffix, note);
}

void PreferencesDialog::addFlag(const QString &title, Preferences::Id id, const QString &note)
{
    QCheckBox *box = PreferenceControls::makeFlag(m_state.preferences(), id, title);
    QWidget *reset =
        makeReset(title, id, Preferences::definition(id).defaultNumber != 0 ? tr("on") : tr("off"));
    const int row = m_grid->rowCount();
    m_grid->addWidget(box, row, 0, 1, 2);
    m_grid->addWidget(reset, row, 2, Qt::AlignRight);
    finishRow(title, {box, reset}, note);
}

QWidget *PreferencesDialog::makeReset(const QString &title, Preferences::Id id,
                                      const QString &defaultText)
{
    auto *button = new QToolButton;
    button->setObjectName(QStringLiteral("reset")
                          + QString::fromLatin1(Preferences::definition(id).key.data()));
    button->setText(tr("Default: %1").arg(defaultText));
    button->setFont(Theme::captionFont(font()));
    button->setFocusPolicy(Qt::StrongFocus);
    button->setAccessibleName(tr("Reset %1 to %2").arg(title, defaultText));
    button->setToolTip(tr("Return to the default"));
    Preferences &preferences = m_state.preferences();
    preferences.follow(
        id, button, [button, id, &preferences] { button->setEnabled(!preferences.isDefault(id)); });
    connect(button, &QToolButton::clicked, this, [id, &preferences] { preferences.reset(id); });
    return button;
}

void PreferencesDialog::finishRow(const QString &title, QList<QWidget *> widgets,
                                  const QString &note)
{
    if (!note.isEmpty()) {
        auto *text = new WrappedLabel(note);
        text->setFont(Theme::captionFont(font()));
        text->setForegroundRole(QPalette::PlaceholderText);
        const bool isFlag = qobject_cast<QCheckBox *>(widgets.first());
        m_grid->addWidget(text, m_grid->rowCount(), isFlag ? 0 : 1, 1, isFlag ? 3 : 2);
        widgets.first()->setAccessibleDescription(note);
        widgets << text;
    }
    const QString section = m_sections.last()->text();
    m_rows.append({section + u' ' + title + u' ' + note, widgets, m_sections.size() - 1});
}

void PreferencesDialog::search(const QString &text)
{
    const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
    QList<bool> hasRows(m_sections.size(), false);
    for (const Row &row : m_rows) {
        const bool isFound = std::all_of(words.begin(), words.end(), [&](const QString &word) {
            return row.text.contains(word, Qt::CaseInsensitive);
        });
        for (QWidget *widget : row.widgets)
            widget->setVisible(isFound);
        hasRows[row.section] = hasRows[row.section] || isFound;
    }
    for (qsizetype i = 0; i < m_sections.size(); ++i)
        m_sections[i]->setVisible(hasRows[i]);
    m_nothingFound->setVisible(!hasRows.contains(true));
}

QCoro::Task<void> PreferencesDialog::askForNewToken()
{
    UserPrompts::Confirmation question;
    question.title = tr("Make a new access token?");
    question.message = tr("Assistants that know the present one are refused from then on. Register "
                          "them again with Claude › Copy Connection Command.");
    question.confirmTitle = tr("New Token");
    const auto life = m_life.watch();
    const auto answer = co_await m_state.prompts().confirm(std::move(question));
    if (life && answer.confirmed)
        m_server.renewToken();
}

} // namespace Korvane
