#include "ui/window/FindInFilesDialog.h"

#include "app/AppState.h"
#include "base/DisplayPath.h"
#include "base/VisibleText.h"
#include "editor/CodeEditorView.h"
#include "ui/window/LocalFileOpening.h"

#include <QCheckBox>
#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTextBlock>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace Korvane {

namespace {

constexpr QSize preferred(620, 420);

} // namespace

FindInFilesDialog::FindInFilesDialog(AppState &state, CodeEditorView &editor, QWidget *parent)
    : QDialog(parent)
    , m_state(state)
    , m_editor(editor)
    , m_query(new QLineEdit)
    , m_matchCase(new QCheckBox(tr("Match &case")))
    , m_wholeWords(new QCheckBox(tr("&Whole words")))
    , m_regularExpression(new QCheckBox(tr("&Regular expression")))
    , m_start(new QPushButton)
    , m_place(new QLabel)
    , m_status(new QLabel)
    , m_list(new QTreeWidget)
{
    setObjectName(QStringLiteral("findInFiles"));
    m_query->setAcceptDrops(false); // a file that is dropped with Shift would count as moved
    m_place->setTextFormat(Qt::PlainText);
    m_status->setTextFormat(Qt::PlainText);
    setWindowTitle(tr("Find in Files"));
    makeContent();
    connect(&m_search, &FileSearch::found, this, &FindInFilesDialog::add);
    connect(&m_search, &FileSearch::finished, this, &FindInFilesDialog::finish);
    connect(m_start, &QPushButton::clicked, this, &FindInFilesDialog::startOrStop);
    // A click shows the place; Return and a double click also give the editor the focus.
    connect(m_list, &QTreeWidget::itemClicked, this,
            [this](const QTreeWidgetItem *item) { choose(item, false); });
    connect(m_list, &QTreeWidget::itemActivated, this,
            [this](const QTreeWidgetItem *item) { choose(item, true); });
    resize(preferred.boundedTo(parent->size()));
    showRunning();
}

void FindInFilesDialog::makeContent()
{
    m_query->setObjectName(QStringLiteral("filesQuery"));
    m_query->setPlaceholderText(tr("Find in all files of the folder"));
    m_query->setAccessibleName(tr("Find in all files of the folder"));
    m_start->setObjectName(QStringLiteral("filesStart"));
    m_start->setDefault(true);
    m_status->setObjectName(QStringLiteral("filesStatus"));
    m_status->setWordWrap(true);
    m_place->setWordWrap(true);
    m_list->setObjectName(QStringLiteral("filesFound"));
    m_list->setAccessibleName(tr("Places found"));
    m_list->setHeaderHidden(true);
    m_list->setUniformRowHeights(true);
    m_list->setTextElideMode(Qt::ElideRight);
    auto *query = new QHBoxLayout;
    query->addWidget(m_query, 1);
    query->addWidget(m_start);
    auto *options = new QHBoxLayout;
    for (QCheckBox *option : {m_matchCase, m_wholeWords, m_regularExpression})
        options->addWidget(option);
    options->addStretch();
    auto *column = new QVBoxLayout(this);
    column->addLayout(query);
    column->addLayout(options);
    column->addWidget(m_place);
    column->addWidget(m_list, 1);
    column->addWidget(m_status);
}

void FindInFilesDialog::open()
{
    const QString selected = m_editor.textCursor().selectedText();
    if (!selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        m_query->setText(selected);
    if (!m_search.isRunning()) {
        m_folder = m_state.localFiles().localWorkingDir();
        m_place->setText(tr("In %1").arg(VisibleText::line(displayPath(m_folder))));
    }
    show(); // not modal: places are opened in the window behind it
    raise();
    activateWindow();
    m_query->setFocus();
    m_query->selectAll();
}

void FindInFilesDialog::reject()
{
    m_search.cancel();
    QDialog::reject();
}

void FindInFilesDialog::startOrStop()
{
    if (m_search.isRunning()) {
        m_search.cancel();
        return;
    }
    if (m_query->text().isEmpty())
        return;
    m_list->clear();
    m_hits.clear();
    m_fileItem = nullptr;
    QHash<QString, QString> edited;
    for (const EditorFile *file : m_state.documents().openFiles()) {
        if (file->isModified() && file->place().kind == DocumentPlace::Kind::Local)
            edited.insert(file->place().canonicalPath, file->content());
    }
    m_search.start(m_folder,
                   {m_query->text(), m_matchCase->isChecked(), m_wholeWords->isChecked(),
                    m_regularExpression->isChecked()},
                   edited);
    showRunning();
}

void FindInFilesDialog::showRunning()
{
    m_start->setText(m_search.isRunning() ? tr("Stop") : tr("Find"));
    if (m_search.isRunning())
        m_status->setText(tr("Searching…"));
}

void FindInFilesDialog::add(const QList<FileSearch::Hit> &hits)
{
    const QDir folder(m_folder);
    for (const FileSearch::Hit &hit : hits) {
        if (m_hits.isEmpty() || m_hits.constLast().path != hit.path) {
            m_fileItem =
                new QTreeWidgetItem(m_list, {VisibleText::line(folder.relativeFilePath(hit.path))});
            m_fileItem->setExpanded(true);
        }
        auto *item = new QTreeWidgetItem(
            m_fileItem, {tr("%1: %2").arg(hit.line).arg(VisibleText::line(hit.text.trimmed()))});
        item->setData(0, Qt::UserRole, static_cast<int>(m_hits.size()));
        m_hits << hit;
    }
}

void FindInFilesDialog::finish(const FileSearch::Outcome &outcome)
{
    showRunning();
    const auto places = static_cast<int>(m_hits.size());
    if (!outcome.error.isEmpty())
        m_status->setText(outcome.error);
    else if (outcome.isCanceled)
        m_status->setText(
            tr("Stopped. Places: %1; files searched: %2").arg(places).arg(outcome.files));
    else if (outcome.hasReachedLimit)
        m_status->setText(tr("The first %1 places; there may be more").arg(places));
    else if (places == 0)
        m_status->setText(tr("Not found; files searched: %1").arg(outcome.files));
    else
        m_status->setText(tr("Places: %1; files searched: %2").arg(places).arg(outcome.files));
}

void FindInFilesDialog::choose(const QTreeWidgetItem *item, bool takesFocus)
{
    const QVariant index = item->data(0, Qt::UserRole);
    if (index.isValid())
        openHit(m_hits[index.toInt()], takesFocus);
}

QCoro::Task<void> FindInFilesDialog::openHit(FileSearch::Hit hit, bool takesFocus)
{
    const auto life = m_life.watch();
    const auto opened = co_await openLocalFile(m_state, hit.path);
    if (!life)
        co_return;
    m_state.errors().reportFailureOf(opened);
    if (!opened)
        co_return;
    // The text may have changed since.
    m_editor.goToLine(hit.line);
    const QTextBlock line = m_editor.textCursor().block();
    if (line.length() - 1 >= hit.column + hit.length)
        m_editor.select(line.position() + hit.column, hit.length);
    if (takesFocus) {
        m_editor.window()->activateWindow();
        m_editor.setFocus();
    }
}

} // namespace Korvane
