#include "ui/browser/FileBrowserView.h"

#include "app/AppState.h"
#include "ui/browser/FileListView.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/MessagePage.h"
#include "ui/window/LocalFileOpening.h"

#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QShowEvent>
#include <QToolButton>

#include <chrono>

namespace Korvane {

using namespace std::chrono_literals;

FileBrowserView::FileBrowserView(AppState &state, QWidget *parent)
    : BrowserPane(tr("Local files"), parent)
    , m_state(state)
    , m_loadingPage(makeLoadingPage())
    , m_errorPage(new MessagePage(QStringLiteral("exclamationmark.triangle")))
{
    list().setObjectName(QStringLiteral("localFiles"));
    folderLabel().setFont(Theme::headlineFont(font()));
    auto *create =
        addButton(QStringLiteral("folder.badge.plus"), tr("Create folder…"), "createFolder");
    auto *refresh = addButton(QStringLiteral("arrow.clockwise"), tr("Refresh"), "refreshLocal");
    auto *empty = new QLabel(tr("Empty folder"));
    empty->setObjectName(QStringLiteral("emptyFolder"));
    empty->setFont(Theme::captionFont(font()));
    empty->setForegroundRole(QPalette::PlaceholderText);
    empty->setAlignment(Qt::AlignCenter);
    m_emptyPage = empty;
    addPage(m_emptyPage);
    addPage(m_errorPage);
    addPage(m_loadingPage);
    m_loadingPageDelay.setSingleShot(true);
    m_loadingPageDelay.setInterval(150ms);
    connect(&m_loadingPageDelay, &QTimer::timeout, this, [this] { showPage(m_loadingPage); });

    LocalFiles &files = state.localFiles();
    connect(this, &BrowserPane::enclosingFolderRequested, this,
            [this] { m_state.localFiles().goToEnclosingFolder(); });
    connect(create, &QToolButton::clicked, this, [this] { m_state.localFiles().createFolder(); });
    connect(refresh, &QToolButton::clicked, this, [this] { load(); });
    connect(&list(), &FileListView::opened, this, [this](int row) { open(m_nodes.at(row)); });
    connect(&list(), &FileListView::menuRequested, this,
            [this](int row) { openMenu(m_nodes.at(row)); });
    connect(&files, &LocalFiles::localWorkingDirChanged, this, [this] {
        showFolder();
        if (isVisible()) // otherwise it is listed once it is shown
            load();
    });
    connect(&files, &LocalFiles::localFilesVersionChanged, this, [this] {
        if (isVisible())
            load();
    });
    showFolder();
}

void FileBrowserView::showEvent(QShowEvent *event)
{
    BrowserPane::showEvent(event);
    if (!event->spontaneous()) // the window only came back from being minimized
        load();
}

void FileBrowserView::showFolder()
{
    const QString &path = m_state.localFiles().localWorkingDir();
    const QString name = QFileInfo(path).fileName();
    setFolder(name.isEmpty() ? path : name, path);
}

QCoro::Task<void> FileBrowserView::load()
{
    const auto life = m_life.watch();
    const int listing = ++m_listing;
    const QString folder = m_state.localFiles().localWorkingDir();
    m_isLoading = true;
    m_loadingPageDelay.start();
    auto nodes = co_await m_state.localFiles().list(folder);
    if (!life || listing != m_listing)
        co_return;
    m_isLoading = false;
    m_loadingPageDelay.stop();
    m_nodes = nodes ? *std::move(nodes) : QList<FileNode>();
    showNodes(folder);
    if (!nodes) {
        m_errorPage->setTexts(tr("The folder can’t be read"), nodes.error().message);
        showPage(m_errorPage);
    }
}

void FileBrowserView::showNodes(const QString &folder)
{
    QList<FileListModel::Row> rows;
    rows.reserve(m_nodes.size());
    for (const FileNode &node : m_nodes)
        rows.append({node.name, node.isDirectory, std::nullopt});
    list().showRows(std::move(rows), folder);
    showPage(m_nodes.isEmpty() ? m_emptyPage : nullptr);
}

void FileBrowserView::open(const FileNode &node)
{
    if (node.path.isEmpty())
        m_state.shell().appendError(
            tr("Cannot open %1: its name is not UTF-8. Rename it first.").arg(node.name));
    else if (node.isDirectory)
        m_state.localFiles().setLocalWorkingDir(node.path);
    else
        openLocalFile(m_state, node.path);
}

void FileBrowserView::openMenu(const FileNode &node)
{
    auto *menu = new QMenu(this);
    if (node.isDirectory) {
        connect(menu->addAction(tr("Copy Folder to Device")), &QAction::triggered, this,
                [this, node] {
                    m_state.errors().reportFailureOf(
                        m_state.fileTransfer().copyFolderToDevice(node.path));
                });
    } else {
        connect(menu->addAction(tr("Open")), &QAction::triggered, this,
                [this, node] { open(node); });
        connect(menu->addAction(tr("Copy to Device")), &QAction::triggered, this, [this, node] {
            m_state.errors().reportFailureOf(m_state.fileTransfer().copyFileToDevice(node.path));
        });
    }
    for (QAction *action : menu->actions())
        action->setEnabled(!node.path.isEmpty());
    list().openMenu(menu);
}

} // namespace Korvane
