#include "ui/window/StartPage.h"

#include "app/AppState.h"
#include "app/Workspace.h"
#include "base/DisplayPath.h"
#include "editor/CodeEditorView.h"
#include "theme/Theme.h"
#include "ui/controls/PlainText.h"
#include "ui/window/LocalFileOpening.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace Korvane {

namespace {

constexpr QPoint place(70, 60);
constexpr qsizetype maxLinks = 5;

} // namespace

StartPage::StartPage(Workspace &workspace, AppState &state, CodeEditorView &editor)
    : QWidget(&editor)
    , m_workspace(workspace)
    , m_state(state)
    , m_editor(editor)
{
    editor.installEventFilter(this);
    setObjectName(QStringLiteral("startPage"));
    setFont(QApplication::font()); // not that of the editor, its parent
    hide();
    connect(&workspace, &Workspace::changed, this, &StartPage::updateVisibility);
    connect(&state.documents(), &OpenFiles::selectedFileChanged, this,
            &StartPage::updateVisibility);
    connect(&state.documents(), &OpenFiles::contentChanged, this, &StartPage::updateVisibility);
    connect(&state.documents(), &OpenFiles::fileChanged, this, &StartPage::updateVisibility);
}

void StartPage::updateVisibility()
{
    const OpenFiles &documents = m_state.documents();
    const EditorFile *file = documents.selectedFile();
    const bool isEmpty = file && documents.openFiles().size() == 1 && file->isUntouched();
    const bool hasRecent =
        !m_workspace.recentFiles().isEmpty() || !m_workspace.recentFolders().isEmpty();
    if (isEmpty && hasRecent)
        fill();
    setVisible(isEmpty && hasRecent);
}

void StartPage::fill()
{
    hide(); // sizeHint() leaves out new children of a visible widget, which are hidden at first
    qDeleteAll(findChildren<QWidget *>(Qt::FindDirectChildrenOnly));
    delete m_column;
    m_column = new QVBoxLayout(this);
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(2);
    addLinks(tr("Recent files"), m_workspace.recentFiles(), false);
    addLinks(tr("Recent folders"), m_workspace.recentFolders(), true);
    setGeometry(QRect(place, sizeHint()));
    fit();
}

/// Hides what would be cut by the lower edge of the editor.
void StartPage::fit()
{
    int bottom = place.y();
    for (QWidget *row : findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        bottom += row->sizeHint().height() + m_column->spacing();
        row->setVisible(bottom <= m_editor.height());
    }
    resize(sizeHint());
}

bool StartPage::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Resize && isVisible())
        fit();
    return QWidget::eventFilter(watched, event);
}

void StartPage::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && isVisible()) {
        fill(); // the links have colors of their own
        show();
    }
}

void StartPage::addLinks(const QString &title, const QStringList &paths, bool areFolders)
{
    if (paths.isEmpty())
        return;
    auto *label = new QLabel(title);
    label->setFont(Theme::headlineFont(label->font()));
    label->setForegroundRole(QPalette::PlaceholderText);
    label->setContentsMargins(4, m_column->isEmpty() ? 0 : 12, 0, 2);
    m_column->addWidget(label);
    for (const QString &path : paths.first(std::min(maxLinks, paths.size()))) {
        auto *link = new QToolButton;
        link->setText(PlainText::label(displayPath(path)));
        link->setCursor(Qt::PointingHandCursor);
        link->setFocusPolicy(
            Qt::NoFocus); // the editor keeps the Tab key; File › Open Recent has them
        QPalette colors = palette();
        colors.setColor(QPalette::ButtonText, colors.color(QPalette::Link));
        link->setPalette(colors);
        m_column->addWidget(link);
        connect(link, &QToolButton::clicked, this, [this, path, areFolders] {
            if (areFolders)
                openLocalFolder(m_state, path);
            else
                openLocalFiles(m_state, {{path}});
        });
    }
}

} // namespace Korvane
