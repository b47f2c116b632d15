#include "ui/browser/BrowserPane.h"

#include "ui/browser/FileListView.h"
#include "ui/controls/Divider.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/IconButton.h"
#include "ui/controls/PlainText.h"
#include "ui/controls/ProgressIndicator.h"

#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace Korvane {

BrowserPane::BrowserPane(const QString &listName, QWidget *parent)
    : QWidget(parent)
    , m_header(new QHBoxLayout)
    , m_folder(new ElidedLabel(Qt::ElideMiddle))
    , m_body(new QStackedWidget)
    , m_list(new FileListView)
{
    m_page = m_list;
    m_list->setAccessibleName(listName);
    m_folder->setObjectName(QStringLiteral("currentFolder"));
    m_header->setContentsMargins(6, 4, 6, 4);
    m_header->setSpacing(2);
    auto *up = addButton(QStringLiteral("chevron.up"), tr("Go to enclosing folder"), "goUp");
    m_header->addSpacing(4);
    m_header->addWidget(m_folder, 1);
    m_header->addSpacing(4);
    m_body->setBackgroundRole(QPalette::Base);
    m_body->setAutoFillBackground(true);
    m_body->addWidget(m_list);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(m_header);
    column->addWidget(new Divider);
    column->addWidget(m_body, 1);

    connect(up, &QToolButton::clicked, this, &BrowserPane::enclosingFolderRequested);
    connect(m_list, &FileListView::selectedRowsChanged, this, &BrowserPane::abilitiesChanged);
    connect(m_list, &FileListView::menuRequested, this,
            [this](int row) { m_list->openMenu(makeMenu(row)); });
    connect(m_list, &FileListView::copyRequested, this,
            [this] { putOnClipboard(ClipboardMark::Kind::Copied); });
    connect(m_list, &FileListView::cutRequested, this,
            [this] { putOnClipboard(ClipboardMark::Kind::Cut); });
    connect(m_list, &FileListView::pasteRequested, this, [this] {
        if (const QMimeData *dropped = QGuiApplication::clipboard()->mimeData())
            paste(*dropped);
    });
    connect(&m_list->entries(), &FileListModel::nameEdited, this, &BrowserPane::nameEdited);
    m_list->setMakeDragData([this] { return dragData(); });
    m_list->setNameProblem([this](const QString &name) { return nameProblem(name); });
    auto *drops = new PaneDrops(*this, *this, *m_list, *up);
    connect(drops, &PaneDrops::folderHovered, this, [this](int row) {
        if (row < 0)
            emit enclosingFolderRequested();
        else
            emit m_list->opened(row);
    });
}

QToolButton *BrowserPane::addButton(const QString &symbol, const QString &help, const char *name)
{
    auto *button = new IconButton(symbol, Theme::Role::SecondaryLabel, help);
    button->setObjectName(QString::fromLatin1(name));
    m_header->addWidget(button);
    if (m_list->window() == window()) // buttons that are added later are before the list, too
        setTabOrder(button, m_list);
    return button;
}

void BrowserPane::setFolder(const QString &shown, const QString &path)
{
    m_folder->setText(shown);
    m_folder->setToolTip(PlainText::toolTip(path));
}

void BrowserPane::addPage(QWidget *page)
{
    page->hide();
    page->setParent(this);
}

void BrowserPane::addFooter(QWidget *footer)
{
    layout()->addWidget(footer);
}

void BrowserPane::setMenuActions(const MenuActions &actions)
{
    m_menuActions = actions;
    // Shortcuts with the context Qt::WidgetShortcut work while the list has the focus.
    m_list->addActions(actions.forEntries);
}

QMenu *BrowserPane::makeMenu(int row)
{
    if (row < 0) // the commands are for the folder then
        m_list->clearSelection();
    const QList<QAction *> &actions = row < 0 ? m_menuActions.forFolder : m_menuActions.forEntries;
    auto *menu = new QMenu(this);
    menu->addActions(actions);
    return menu;
}

void BrowserPane::contextMenuEvent(QContextMenuEvent *event)
{
    if (m_body->currentWidget() == m_list) // which opens menus itself
        return;
    QMenu *menu = makeMenu(-1);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

void BrowserPane::putOnClipboard(ClipboardMark::Kind kind)
{
    std::unique_ptr<QMimeData> carried = dragData();
    if (!carried)
        return;
    ClipboardMark::set(*carried, kind);
    QGuiApplication::clipboard()->setMimeData(carried.release());
}

bool BrowserPane::dropHere(const QMimeData &dropped)
{
    const QString folder = dropFolder(-1);
    if (dropAction(dropped, folder) == Qt::IgnoreAction)
        return false;
    drop(dropped, folder);
    return true;
}

void BrowserPane::showPage(QWidget *page)
{
    m_page = page ? page : m_list;
    // In a hidden pane the stack would lay out and measure a page that is not visible.
    if (isVisible())
        raisePage();
}

void BrowserPane::raisePage()
{
    // Added only now: a stack measures all of its pages, which takes 10 % of the start-up time.
    if (m_body->indexOf(m_page) < 0)
        m_body->addWidget(m_page);
    m_body->setCurrentWidget(m_page); // which moves the focus from the previous page to this one
}

void BrowserPane::showEvent(QShowEvent *event)
{
    raisePage();
    QWidget::showEvent(event);
}

void BrowserPane::focusEntries()
{
    m_body->currentWidget()->setFocus();
}

bool BrowserPane::isUpKey(const QKeyEvent &event)
{
    return event.key() == Qt::Key_Backspace
        || (event.key() == Qt::Key_Up && event.modifiers() == Qt::AltModifier);
}

void BrowserPane::keyPressEvent(QKeyEvent *event)
{
    // From the entries, or from the page in their place: keys leave an empty folder, too.
    if (isUpKey(*event))
        emit enclosingFolderRequested();
    else
        QWidget::keyPressEvent(event);
}

QWidget *BrowserPane::makeLoadingPage()
{
    auto *page = new QWidget;
    auto *text = new QLabel(tr("Loading files…"));
    text->setForegroundRole(QPalette::PlaceholderText);
    auto *column = new QVBoxLayout(page);
    column->addStretch();
    column->addWidget(new ProgressIndicator(22), 0, Qt::AlignHCenter);
    column->addWidget(text, 0, Qt::AlignHCenter);
    column->addStretch();
    return page;
}

} // namespace Korvane
