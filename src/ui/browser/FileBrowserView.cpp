#include "ui/browser/FileBrowserView.h"

#include "app/AppState.h"
#include "ui/browser/FileListView.h"
#include "ui/controls/ElidedLabel.h"
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
    addPage(m_loadingPage);
    m_slow.setSingleShot(true);
    m_slow.setInterval(150ms);
    connect(&m_slow, &QTimer::timeout, this, [this] { showPage(m_loadingPage); });

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
    m_slow.start();
    auto nodes = co_await m_state.localFiles().list(folder);
    if (!life || !nodes || listing != m_listing)
        co_return;
    m_isLoading = false;
    m_slow.stop();
    m_nodes = *std::move(nodes);
    showNodes(folder);
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
    if (node.isDirectory)
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
    list().openMenu(menu);
}

} // namespace Korvane
