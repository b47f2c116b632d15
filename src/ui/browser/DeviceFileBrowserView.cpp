#include "ui/browser/DeviceFileBrowserView.h"

#include "app/AppState.h"
#include "base/VisibleText.h"
#include "ui/browser/FileListView.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/KeyText.h"
#include "ui/controls/MessagePage.h"
#include "ui/controls/PlainText.h"

#include <QFileInfo>
#include <QMenu>
#include <QToolButton>

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
            &DeviceFileBrowserView::goToEnclosingFolder);
    connect(m_send, &QToolButton::clicked, this,
            [this] { m_state.boardDocuments().sendCurrentFileToDevice(); });
    connect(refresh, &QToolButton::clicked, this,
            [this] { m_state.deviceFiles().refreshDeviceFiles(); });
    connect(&list(), &FileListView::opened, this, [this](int row) { open(m_nodes.at(row)); });
    connect(&list(), &FileListView::menuRequested, this,
            [this](int row) { openMenu(m_nodes.at(row)); });

    DeviceFiles &files = state.deviceFiles();
    connect(&state.link(), &DeviceLink::connectionStateChanged, this,
            &DeviceFileBrowserView::showState);
    connect(&files, &DeviceFiles::isLoadingDeviceFilesChanged, this,
            &DeviceFileBrowserView::showState);
    connect(&files, &DeviceFiles::deviceFileNodesChanged, this, &DeviceFileBrowserView::showState);
    connect(&files, &DeviceFiles::deviceWorkingDirChanged, this, &DeviceFileBrowserView::showState);
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
    if (!m_state.link().connectionState().isConnected())
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

void DeviceFileBrowserView::goToEnclosingFolder()
{
    const QString folder = m_state.deviceFiles().deviceWorkingDir();
    const qsizetype slash = folder.lastIndexOf(u'/');
    m_state.deviceFiles().setDeviceWorkingDir(slash > 0 ? folder.first(slash)
                                                        : QStringLiteral("/"));
}

void DeviceFileBrowserView::open(const DeviceFileNode &node)
{
    if (node.isDirectory)
        m_state.deviceFiles().setDeviceWorkingDir(node.path);
    else
        m_state.boardDocuments().openDeviceFile(node);
}

void DeviceFileBrowserView::openMenu(const DeviceFileNode &node)
{
    const QString local = m_state.localFiles().localWorkingDir();
    const QString localName = PlainText::label(local == u"/" ? local : QFileInfo(local).fileName());
    auto *menu = new QMenu(this);
    if (node.isDirectory) {
        connect(menu->addAction(tr("Copy Folder to %1").arg(localName)), &QAction::triggered, this,
                [this, node, local] {
                    m_state.errors().reportFailureOf(
                        m_state.fileTransfer().copyFolderFromDevice(node, local));
                });
    } else {
        connect(menu->addAction(tr("Open in Editor")), &QAction::triggered, this,
                [this, node] { open(node); });
        connect(menu->addAction(tr("Copy to %1").arg(localName)), &QAction::triggered, this,
                [this, node, local] {
                    m_state.errors().reportFailureOf(
                        m_state.fileTransfer().copyFileFromDevice(node, local));
                });
    }
    connect(menu->addAction(tr("Delete")), &QAction::triggered, this,
            [this, node] { m_state.boardDocuments().deleteDeviceFile(node); });
    list().openMenu(menu);
}

} // namespace Korvane
