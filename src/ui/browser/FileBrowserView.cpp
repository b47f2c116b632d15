#include "ui/browser/FileBrowserView.h"

#include "app/AppState.h"
#include "board/CopyPlan.h"
#include "board/DeviceListing.h"
#include "ui/browser/BoardPathsMime.h"
#include "ui/browser/FileListView.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/MessagePage.h"
#include "ui/controls/PlainText.h"
#include "ui/window/LocalFileOpening.h"

#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QMimeData>
#include <QShowEvent>
#include <QToolButton>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <utility>

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
    connect(&m_loadingPageDelay, &QTimer::timeout, this, [this] {
        if (!list().isEditing()) // the page would take the focus, and Qt would commit the name
            showPage(m_loadingPage);
    });

    LocalFiles &files = state.localFiles();
    connect(this, &BrowserPane::enclosingFolderRequested, this,
            [this] { m_state.localFiles().goToEnclosingFolder(); });
    connect(create, &QToolButton::clicked, this, &FileBrowserView::createFolder);
    connect(refresh, &QToolButton::clicked, this, [this] { load(); });
    connect(&list(), &FileListView::opened, this, [this](int row) { open(m_nodes.at(row)); });
    connect(&list(), &FileListView::toolTipRequested, this, &FileBrowserView::showToolTip);
    connect(&list(), &FileListView::editingEnded, this, [this] {
        if (std::exchange(m_mustLoad, false))
            load();
    });
    connect(&list(), &FileListView::moveDragFinished, this,
            [this] { m_state.localFiles().reload(); });
    LocalFileActions &actions = state.localFileActions();
    connect(&actions, &LocalFileActions::entryPlaced, this,
            [this](const QString &path) { list().selectEntry(path); });
    connect(&actions, &LocalFileActions::fileCreated, this,
            [this](const QString &path) { openLocalFiles(m_state, {{path}}); });
    connect(&files, &LocalFiles::localWorkingDirChanged, this, [this] {
        list().cancelEditing(); // the entry is in the previous folder
        showFolder();
        list().clearSelection(); // commands would act on entries of the previous folder
        if (isVisible())         // otherwise it is listed when the pane is shown
            load();
        emit abilitiesChanged(); // their texts name the folder
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
    if (!event->spontaneous()) // spontaneous: the window is no longer minimized
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
    if (list().isEditing()) { // rows and nodes are replaced together, when the editing has ended
        m_mustLoad = true;
        co_return;
    }
    if (!nodes) {
        m_nodes.clear();
        showNodes(folder);
        m_errorPage->setTexts(tr("The folder can’t be read"), nodes.error().message);
        showPage(m_errorPage);
        co_return;
    }
    m_nodes = *std::move(nodes);
    showNodes(folder);
}

void FileBrowserView::showNodes(const QString &folder)
{
    QList<FileListModel::Row> rows;
    rows.reserve(m_nodes.size());
    for (const FileNode &node : m_nodes)
        rows.append({node.name, node.isDirectory, std::nullopt, !node.path.isEmpty()});
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
        openLocalFiles(m_state, {{node.path}});
}

void FileBrowserView::report(Async<void> operation)
{
    m_state.errors().reportFailureOf(std::move(operation));
}

QCoro::Task<void> FileBrowserView::showToolTip(int row)
{
    const FileNode node = m_nodes.at(row);
    if (node.path.isEmpty()) {
        list().showToolTip(row, node.name);
        co_return;
    }
    const auto life = m_life.watch();
    const int listing = m_listing;
    const auto details = co_await m_state.localFiles().details(node.path);
    if (!life || listing != m_listing || !details)
        co_return;
    QStringList lines{node.path};
    if (!node.isDirectory)
        lines << tr("%1 bytes").arg(QLocale().toString(details->size));
    lines << tr("Changed %1")
                 .arg(QLocale().toString(details->modified.toLocalTime(), QLocale::ShortFormat));
    list().showToolTip(row, lines.join(u'\n'));
}

QList<FileNode> FileBrowserView::selectedNodes() const
{
    QList<FileNode> nodes;
    for (const int row : list().selectedRows())
        nodes << m_nodes.at(row);
    return nodes;
}

QStringList FileBrowserView::selectedPaths() const
{
    QStringList paths;
    for (const FileNode &node : selectedNodes()) {
        if (!node.path.isEmpty())
            paths << node.path;
    }
    return paths;
}

BrowserPane::Abilities FileBrowserView::abilities() const
{
    const QList<FileNode> nodes = selectedNodes();
    const bool isFolder = nodes.size() == 1 && nodes.first().isDirectory;
    const bool hasFolder = std::any_of(nodes.cbegin(), nodes.cend(),
                                       [](const FileNode &node) { return node.isDirectory; });
    // An entry without a path has a name that is not UTF-8, and cannot be opened by Qt.
    const bool canUse = !nodes.isEmpty() && selectedPaths().size() == nodes.size();
    Abilities abilities;
    abilities.canCreate = true;
    abilities.canOpen = canUse && (nodes.size() == 1 || !hasFolder);
    abilities.canCopy = canUse;
    abilities.canDelete = canUse;
    abilities.canRename = canUse && nodes.size() == 1;
    abilities.openText = tr("&Open");
    abilities.copyText = isFolder ? tr("&Copy Folder to Device")
        : nodes.size() > 1        ? tr("&Copy %1 Items to Device").arg(nodes.size())
                                  : tr("&Copy to Device");
    const QString &shown = m_state.localFiles().localWorkingDir();
    const QString folder = isFolder ? nodes.first().name : QFileInfo(shown).fileName();
    if (!isFolder || canUse) {
        abilities.sendChangedText = tr("Send C&hanged Files of “%1”…")
                                        .arg(PlainText::label(folder.isEmpty() ? shown : folder));
    }
    abilities.deleteText = tr("Move to &Trash…");
    return abilities;
}

void FileBrowserView::openSelected()
{
    const QList<FileNode> nodes = selectedNodes();
    if (nodes.size() == 1) {
        open(nodes.first());
        return;
    }
    QList<FileArgument> files;
    for (const QString &path : selectedPaths())
        files.append({path});
    openLocalFiles(m_state, files);
}

void FileBrowserView::copySelected()
{
    const QList<FileNode> nodes = selectedNodes();
    const QString folder = m_state.deviceFiles().deviceWorkingDir();
    if (nodes.size() > 1)
        report(m_state.filesCopy().toDevice(selectedPaths(), folder));
    else if (nodes.size() == 1 && nodes.first().isDirectory)
        report(m_state.fileTransfer().copyFolderToDevice(nodes.first().path));
    else if (nodes.size() == 1)
        report(m_state.fileTransfer().copyFileToDevice(nodes.first().path));
}

void FileBrowserView::deleteSelected()
{
    report(m_state.localFileActions().moveToTrash(selectedPaths()));
}

void FileBrowserView::sendChangedFiles()
{
    const QList<FileNode> nodes = selectedNodes();
    const QString target = m_state.deviceFiles().deviceWorkingDir();
    if (nodes.size() == 1 && nodes.first().isDirectory)
        report(m_state.changedFiles().send(nodes.first().path,
                                           DeviceListing::join(target, nodes.first().name)));
    else
        report(m_state.changedFiles().send(m_state.localFiles().localWorkingDir(), target));
}

void FileBrowserView::createFile()
{
    report(m_state.localFileActions().createFile(m_state.localFiles().localWorkingDir()));
}

void FileBrowserView::createFolder()
{
    m_state.localFiles().createFolder();
}

void FileBrowserView::nameEdited(const QString &oldName, const QString &newName)
{
    const auto node = std::find_if(m_nodes.cbegin(), m_nodes.cend(),
                                   [&](const FileNode &entry) { return entry.name == oldName; });
    if (node != m_nodes.cend() && !node->path.isEmpty())
        report(m_state.localFileActions().rename(node->path, newName));
}

QString FileBrowserView::nameProblem(const QString &name) const
{
    return LocalFileActions::nameProblem(name);
}

std::unique_ptr<QMimeData> FileBrowserView::dragData() const
{
    QList<QUrl> urls;
    for (const QString &path : selectedPaths())
        urls << QUrl::fromLocalFile(path);
    CopyPlan plan;
    for (const FileNode &node : selectedNodes()) {
        if (node.path.isEmpty())
            plan.skipped.append({node.name, QStringLiteral("names that are not UTF-8")});
    }
    for (const QString &line : plan.skippedLines())
        m_state.shell().appendInfo(line);
    if (urls.isEmpty())
        return nullptr;
    auto carried = std::make_unique<QMimeData>();
    carried->setUrls(urls);
    return carried;
}

std::optional<QStringList> FileBrowserView::boardPaths(const QMimeData &dropped) const
{
    return BoardPathsMime::paths(dropped, m_state.link().connectionNumber());
}

void FileBrowserView::paste(const QMimeData &dropped)
{
    const QStringList paths = localPaths(dropped);
    if (boardPaths(dropped))
        drop(dropped, m_state.localFiles().localWorkingDir());
    else if (ClipboardMark::of(dropped) == ClipboardMark::Kind::Cut && !paths.isEmpty())
        report(m_state.localFileActions().move(paths, m_state.localFiles().localWorkingDir()));
    else if (!paths.isEmpty())
        m_state.shell().appendError(tr("Copied files can’t be pasted here. Cut them to move them, "
                                       "or copy them to the device."));
}

QString FileBrowserView::dropFolder(int row) const
{
    return row < 0 ? m_state.localFiles().localWorkingDir() : m_nodes.at(row).path;
}

bool FileBrowserView::isFolder(int row) const
{
    return m_nodes.at(row).isDirectory && !m_nodes.at(row).path.isEmpty();
}

QString FileBrowserView::enclosingFolder() const
{
    return QFileInfo(m_state.localFiles().localWorkingDir()).absolutePath();
}

bool FileBrowserView::accepts(const QMimeData &dropped) const
{
    // Files that are dragged from other programs are opened by the window.
    return boardPaths(dropped) || list().isDragSource();
}

Qt::DropAction FileBrowserView::dropAction(const QMimeData &dropped, const QString &folder) const
{
    if (boardPaths(dropped))
        return Qt::CopyAction;
    if (!list().isDragSource())
        return Qt::IgnoreAction;
    const QStringList paths = localPaths(dropped);
    const bool canMove = std::all_of(paths.cbegin(), paths.cend(), [&](const QString &path) {
        return path != folder && !folder.startsWith(path + u'/')
            && QFileInfo(path).absolutePath() != folder;
    });
    return canMove ? Qt::MoveAction : Qt::IgnoreAction;
}

void FileBrowserView::drop(const QMimeData &dropped, const QString &folder)
{
    if (const auto paths = boardPaths(dropped)) {
        const auto nodes = BoardPathsMime::nodes(*paths, m_state.deviceFiles());
        report(m_state.filesCopy().fromDevice(nodes, folder));
    } else {
        report(m_state.localFileActions().move(localPaths(dropped), folder));
    }
}

} // namespace Korvane
