#include "ui/browser/DeviceFileBrowserView.h"

#include "app/AppState.h"
#include "base/VisibleText.h"
#include "board/DeviceListing.h"
#include "ui/browser/BoardPathsMime.h"
#include "ui/browser/FileListView.h"
#include "ui/browser/SpaceFooter.h"
#include "ui/controls/MessagePage.h"
#include "ui/controls/PlainText.h"

#include <QFileInfo>
#include <QLocale>
#include <QToolButton>

#include <algorithm>
#include <utility>

namespace Korvane {

DeviceFileBrowserView::DeviceFileBrowserView(AppState &state, QWidget *parent)
    : BrowserPane(tr("Device files"), parent)
    , m_state(state)
    , m_send(addButton(QStringLiteral("arrow.up.doc"), tr("Send current file to device"),
                       "sendCurrentFile"))
    , m_noBoardPage(new MessagePage(QStringLiteral("cable.connector.slash")))
    , m_emptyPage(new MessagePage(QStringLiteral("tray")))
    , m_failedPage(new MessagePage(QStringLiteral("exclamationmark.triangle")))
    , m_loadingPage(makeLoadingPage())
    , m_space(new SpaceFooter)
{
    list().setObjectName(QStringLiteral("deviceFiles"));
    auto *refresh =
        addButton(QStringLiteral("arrow.clockwise"), tr("Refresh device files"), "refreshDevice");
    m_noBoardPage->setTexts(tr("No device connected"),
                            tr("Use the toolbar to connect a MicroPython device"));
    for (QWidget *page :
         {static_cast<QWidget *>(m_noBoardPage), static_cast<QWidget *>(m_emptyPage),
          static_cast<QWidget *>(m_failedPage), m_loadingPage})
        addPage(page);
    connect(this, &BrowserPane::enclosingFolderRequested, this,
            [this] { m_state.deviceFiles().setDeviceWorkingDir(enclosingFolder()); });
    connect(m_send, &QToolButton::clicked, this,
            [this] { m_state.boardDocuments().sendCurrentFileToDevice(); });
    connect(refresh, &QToolButton::clicked, this,
            [this] { m_state.deviceFiles().refreshDeviceFiles(); });
    connect(&list(), &FileListView::opened, this, [this](int row) { open(m_nodes.at(row)); });
    connect(&list(), &FileListView::editingEnded, this, &DeviceFileBrowserView::showState);
    connect(&list(), &FileListView::toolTipRequested, this, [this](int row) {
        const DeviceFileNode &node = m_nodes.at(row);
        const QString size = tr("%1 bytes").arg(QLocale().toString(node.size));
        list().showToolTip(row, node.isDirectory ? node.path : node.path + u'\n' + size);
    });
    m_space->hide();
    addFooter(m_space);

    DeviceFiles &files = state.deviceFiles();
    connect(&state.link(), &DeviceLink::connectionStateChanged, this,
            &DeviceFileBrowserView::showState);
    connect(&files, &DeviceFiles::isLoadingDeviceFilesChanged, this,
            &DeviceFileBrowserView::showState);
    connect(&files, &DeviceFiles::deviceFileNodesChanged, this, &DeviceFileBrowserView::showState);
    connect(&files, &DeviceFiles::deviceWorkingDirChanged, this, [this] {
        list().cancelEditing(); // the entry is in the previous folder
        showState();
    });
    connect(&files, &DeviceFiles::deviceWorkingDirChanged, this, &DeviceFileBrowserView::showSpace);
    connect(&files, &DeviceFiles::isLoadingDeviceFilesChanged, this,
            &DeviceFileBrowserView::requestSpace);
    connect(&state.boardSpace(), &BoardSpace::changed, this, &DeviceFileBrowserView::showSpace);
    connect(&state.boardFileActions(), &BoardFileActions::entryPlaced, this,
            [this](const QString &path) { list().selectEntry(path); });
    for (auto changed :
         {&DeviceFiles::deviceFileNodesChanged, &DeviceFiles::deviceWorkingDirChanged})
        connect(&files, changed, this, &BrowserPane::abilitiesChanged);
    connect(&state.link(), &DeviceLink::connectionStateChanged, this,
            &BrowserPane::abilitiesChanged);
    connect(&state.programRun(), &ProgramRun::deviceProgramRunningChanged, this,
            &BrowserPane::abilitiesChanged);
    connect(&state.localFiles(), &LocalFiles::localWorkingDirChanged, this,
            &BrowserPane::abilitiesChanged);
    OpenFiles &documents = state.documents();
    connect(&documents, &OpenFiles::selectedFileChanged, this,
            &DeviceFileBrowserView::showSendHelp);
    connect(&documents, &OpenFiles::fileChanged, this, &DeviceFileBrowserView::showSendHelp);
    showState();
    showSendHelp();
}

void DeviceFileBrowserView::showState()
{
    const QString &folder = m_state.deviceFiles().deviceWorkingDir();
    setFolder(folder, folder);
    const bool isConnected = m_state.link().connectionState().isConnected();
    if (isConnected && list().isEditing())
        return; // a page would take the focus, and Qt would commit the name that is being typed
    list().cancelEditing(); // the entry is on the board that was disconnected
    if (!isConnected)
        showPage(m_noBoardPage);
    else if (m_state.deviceFiles().isLoadingDeviceFiles())
        showPage(m_loadingPage);
    else
        showEntries();
}

void DeviceFileBrowserView::showEntries()
{
    const QString &folder = m_state.deviceFiles().deviceWorkingDir();
    const QList<DeviceFileNode> *children = m_state.deviceFiles().deviceChildren(folder);
    m_nodes = children ? *children : QList<DeviceFileNode>();
    QList<FileListModel::Row> rows;
    rows.reserve(m_nodes.size());
    for (const DeviceFileNode &node : std::as_const(m_nodes))
        rows.append({node.name, node.isDirectory, node.size});
    list().showRows(std::move(rows), folder);
    if (const auto &error = m_state.deviceFiles().listingError(); error && m_nodes.isEmpty()) {
        m_failedPage->setTexts(tr("The files could not be listed"), error->message);
        showPage(m_failedPage);
        return;
    }
    if (folder == u"/")
        m_emptyPage->setTexts(tr("No files found"), tr("The device filesystem appears empty"));
    else
        m_emptyPage->setTexts(tr("Empty folder"), folder);
    showPage(m_nodes.isEmpty() ? m_emptyPage : nullptr);
}

void DeviceFileBrowserView::showSendHelp()
{
    const EditorFile *file = m_state.documents().selectedFile();
    const QString help =
        file ? tr("Send %1 to device").arg(file->name()) : tr("Send current file to device");
    m_send->setToolTip(PlainText::toolTip(help));
    m_send->setAccessibleName(VisibleText::line(help));
}

void DeviceFileBrowserView::showSpace()
{
    const auto space = m_state.boardSpace().space(m_state.deviceFiles().deviceWorkingDir());
    m_space->setVisible(space.has_value());
    if (space)
        m_space->setSpace(space->totalBytes, space->freeBytes);
}

/// The space is read only while it is shown.
void DeviceFileBrowserView::requestSpace()
{
    if (isVisible() && m_state.link().connectionState().isConnected()
        && !m_state.deviceFiles().isLoadingDeviceFiles())
        m_state.boardSpace().request();
}

void DeviceFileBrowserView::showEvent(QShowEvent *event)
{
    BrowserPane::showEvent(event);
    requestSpace();
}

QString DeviceFileBrowserView::enclosingFolder() const
{
    const QString &folder = m_state.deviceFiles().deviceWorkingDir();
    const qsizetype slash = folder.lastIndexOf(u'/');
    return slash > 0 ? folder.first(slash) : QStringLiteral("/");
}

void DeviceFileBrowserView::open(const DeviceFileNode &node)
{
    if (node.isDirectory)
        m_state.deviceFiles().setDeviceWorkingDir(node.path);
    else
        m_state.boardDocuments().openDeviceFile(node);
}

void DeviceFileBrowserView::report(Async<void> operation)
{
    m_state.errors().reportFailureOf(std::move(operation));
}

bool DeviceFileBrowserView::isFree() const
{
    return m_state.link().connectionState().isConnected()
        && !m_state.programRun().deviceProgramRunning();
}

QList<DeviceFileNode> DeviceFileBrowserView::selectedNodes() const
{
    QList<DeviceFileNode> nodes;
    for (const int row : list().selectedRows())
        nodes << m_nodes.at(row);
    return nodes;
}

BrowserPane::Abilities DeviceFileBrowserView::abilities() const
{
    const QList<DeviceFileNode> nodes = selectedNodes();
    const bool isFolder = nodes.size() == 1 && nodes.first().isDirectory;
    const bool hasFolder = std::any_of(nodes.cbegin(), nodes.cend(),
                                       [](const auto &node) { return node.isDirectory; });
    const QString local = m_state.localFiles().localWorkingDir();
    const QString target = PlainText::label(local == u"/" ? local : QFileInfo(local).fileName());
    Abilities abilities;
    abilities.canCreate = isFree();
    abilities.canOpen = isFree() && !nodes.isEmpty() && (nodes.size() == 1 || !hasFolder);
    abilities.canCopy = isFree() && !nodes.isEmpty();
    abilities.canDelete = abilities.canCopy;
    abilities.canRename = isFree() && nodes.size() == 1;
    abilities.openText = isFolder ? tr("&Open") : tr("&Open in Editor");
    abilities.copyText = isFolder ? tr("&Copy Folder to %1").arg(target)
        : nodes.size() > 1        ? tr("&Copy %1 Items to %2").arg(nodes.size()).arg(target)
                                  : tr("&Copy to %1").arg(target);
    abilities.deleteText = tr("De&lete…");
    return abilities;
}

void DeviceFileBrowserView::openSelected()
{
    for (const DeviceFileNode &node : selectedNodes())
        open(node);
}

void DeviceFileBrowserView::copySelected()
{
    const QList<DeviceFileNode> nodes = selectedNodes();
    const QString local = m_state.localFiles().localWorkingDir();
    if (nodes.size() > 1)
        report(m_state.filesCopy().fromDevice(nodes, local));
    else if (nodes.size() == 1 && nodes.first().isDirectory)
        report(m_state.fileTransfer().copyFolderFromDevice(nodes.first(), local));
    else if (nodes.size() == 1)
        report(m_state.fileTransfer().copyFileFromDevice(nodes.first(), local));
}

void DeviceFileBrowserView::deleteSelected()
{
    report(m_state.boardFileActions().remove(selectedNodes()));
}

void DeviceFileBrowserView::createFile()
{
    report(m_state.boardFileActions().createFile(m_state.deviceFiles().deviceWorkingDir()));
}

void DeviceFileBrowserView::createFolder()
{
    report(m_state.boardFileActions().createFolder(m_state.deviceFiles().deviceWorkingDir()));
}

void DeviceFileBrowserView::nameEdited(const QString &oldName, const QString &newName)
{
    const auto node = std::find_if(m_nodes.cbegin(), m_nodes.cend(),
                                   [&](const auto &entry) { return entry.name == oldName; });
    if (node != m_nodes.cend())
        report(m_state.boardFileActions().rename(*node, newName));
}

QString DeviceFileBrowserView::nameProblem(const QString &name) const
{
    return BoardFileActions::nameProblem(name);
}

std::unique_ptr<QMimeData> DeviceFileBrowserView::dragData() const
{
    QStringList paths;
    for (const DeviceFileNode &node : selectedNodes())
        paths << node.path;
    if (paths.isEmpty())
        return nullptr;
    return BoardPathsMime::make(paths, m_state.link().connectionNumber());
}

void DeviceFileBrowserView::paste(const QMimeData &dropped)
{
    const QString folder = m_state.deviceFiles().deviceWorkingDir();
    const auto paths = BoardPathsMime::paths(dropped, m_state.link().connectionNumber());
    if (paths && ClipboardMark::of(dropped) == ClipboardMark::Kind::Cut)
        report(m_state.boardFileActions().move(BoardPathsMime::nodes(*paths, m_state.deviceFiles()),
                                               folder));
    else if (paths)
        m_state.shell().appendError(tr("Copied files can’t be pasted here. Cut them to move them, "
                                       "or copy them to this computer."));
    else
        report(m_state.filesCopy().toDevice(localPaths(dropped), folder));
}

QString DeviceFileBrowserView::dropFolder(int row) const
{
    return row < 0 ? m_state.deviceFiles().deviceWorkingDir() : m_nodes.at(row).path;
}

bool DeviceFileBrowserView::isFolder(int row) const
{
    return m_nodes.at(row).isDirectory;
}

bool DeviceFileBrowserView::accepts(const QMimeData &dropped) const
{
    return BoardPathsMime::paths(dropped, m_state.link().connectionNumber())
        || !localPaths(dropped).isEmpty();
}

Qt::DropAction DeviceFileBrowserView::dropAction(const QMimeData &dropped,
                                                 const QString &folder) const
{
    const auto paths = BoardPathsMime::paths(dropped, m_state.link().connectionNumber());
    if (!paths)
        return localPaths(dropped).isEmpty() ? Qt::IgnoreAction : Qt::CopyAction;
    const bool canMove = std::all_of(paths->cbegin(), paths->cend(), [&](const QString &path) {
        return path != folder && !folder.startsWith(path + u'/');
    });
    const bool isElsewhere = std::any_of(paths->cbegin(), paths->cend(), [&](const QString &path) {
        return path != DeviceListing::join(folder, path.section(u'/', -1));
    });
    return canMove && isElsewhere ? Qt::MoveAction : Qt::IgnoreAction;
}

void DeviceFileBrowserView::drop(const QMimeData &dropped, const QString &folder)
{
    if (const auto paths = BoardPathsMime::paths(dropped, m_state.link().connectionNumber()))
        report(m_state.boardFileActions().move(BoardPathsMime::nodes(*paths, m_state.deviceFiles()),
                                               folder));
    else
        report(m_state.filesCopy().toDevice(localPaths(dropped), folder));
}

} // namespace Korvane
