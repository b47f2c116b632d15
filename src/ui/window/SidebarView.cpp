#include "ui/window/SidebarView.h"

#include "app/AppState.h"
#include "theme/Icons.h"
#include "ui/browser/BrowserCommands.h"
#include "ui/browser/DeviceFileBrowserView.h"
#include "ui/browser/FileBrowserView.h"
#include "ui/controls/Divider.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/PaneTab.h"
#include "ui/controls/PlainText.h"
#include "ui/controls/ProgressIndicator.h"

#include <QDropEvent>
#include <QHBoxLayout>
#include <QMimeData>
#include <QShortcut>
#include <QStackedWidget>

#include <algorithm>
#include <chrono>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

constexpr auto dragRestTime = 500ms;

QToolButton *makeTab(const QString &symbol, const QString &title)
{
    auto *tab = new PaneTab(title);
    tab->setObjectName(symbol);
    tab->setIcon(Icons::icon(symbol));
    tab->setIconSize(QSize(16, 16));
    tab->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    return tab;
}

} // namespace

SidebarView::SidebarView(AppState &state, Actions &actions, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_localTab(makeTab(QStringLiteral("laptopcomputer"), tr("Local")))
    , m_deviceTab(makeTab(QStringLiteral("cpu"), tr("Device")))
    , m_body(new QStackedWidget)
    , m_localBrowser(new FileBrowserView(state))
    , m_deviceBrowser(new DeviceFileBrowserView(state))
{
    setObjectName(QStringLiteral("sidebar"));
    m_localBrowser->setObjectName(QStringLiteral("localBrowser"));
    m_deviceBrowser->setObjectName(QStringLiteral("deviceBrowser"));
    m_body->addWidget(m_localBrowser);
    m_body->addWidget(m_deviceBrowser);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makePicker());
    column->addWidget(new Divider);
    column->addWidget(m_body, 1);
    column->addWidget(makeTransferRow());
    setMinimumWidth(std::max(170, minimumSizeHint().width())); // words may be longer elsewhere

    connect(m_localTab, &QToolButton::clicked, this,
            [this] { m_state.setSidebarTab(AppState::SidebarTab::Local); });
    connect(m_deviceTab, &QToolButton::clicked, this,
            [this] { m_state.setSidebarTab(AppState::SidebarTab::Device); });
    connect(&state, &AppState::sidebarTabChanged, this, &SidebarView::showTab);
    new BrowserCommands(state, actions, *m_localBrowser, *m_deviceBrowser, this);
    for (QToolButton *tab : {m_localTab, m_deviceTab}) {
        tab->setAcceptDrops(true);
        tab->installEventFilter(this);
    }
    m_dragRest.setSingleShot(true);
    m_dragRest.setInterval(dragRestTime);
    connect(&m_dragRest, &QTimer::timeout, this, [this] { m_dragTab->click(); });
    showTab();
}

void SidebarView::focusPane()
{
    static_cast<BrowserPane *>(m_body->currentWidget())->focusEntries();
}

bool SidebarView::eventFilter(QObject *watched, QEvent *event)
{
    BrowserPane *pane = watched == m_localTab ? m_localBrowser : m_deviceBrowser;
    switch (event->type()) {
    case QEvent::DragEnter: {
        auto *drag = static_cast<QDragEnterEvent *>(event);
        if (!pane->acceptsDrop(*drag->mimeData()))
            return false;
        m_dragTab = watched == m_localTab ? m_localTab : m_deviceTab;
        m_dragRest.start();
        drag->acceptProposedAction();
        return true;
    }
    case QEvent::DragLeave:
        m_dragRest.stop();
        return true;
    case QEvent::Drop: {
        auto *drop = static_cast<QDropEvent *>(event);
        m_dragRest.stop();
        drop->setAccepted(pane->dropHere(*drop->mimeData()));
        return true;
    }
    default:
        return QWidget::eventFilter(watched, event);
    }
}

QWidget *SidebarView::makePicker()
{
    auto *picker = new QWidget;
    auto *row = new QHBoxLayout(picker);
    row->setContentsMargins(8, 4, 8, 4);
    row->setSpacing(4);
    row->addStretch();
    row->addWidget(m_localTab);
    row->addWidget(m_deviceTab);
    row->addStretch();
    return picker;
}

QWidget *SidebarView::makeTransferRow()
{
    auto *transfer = new QWidget;
    transfer->setObjectName(QStringLiteral("transfer"));
    auto *status = new ElidedLabel(Qt::ElideMiddle);
    status->setObjectName(QStringLiteral("transferStatus"));
    status->setFont(Theme::captionFont(font()));
    auto *row = new QHBoxLayout;
    row->setContentsMargins(8, 5, 8, 5);
    row->setSpacing(6);
    row->addWidget(new ProgressIndicator(14));
    row->addWidget(status, 1);
    auto *cancel = new QToolButton;
    cancel->setObjectName(QStringLiteral("cancelTransfer"));
    cancel->setText(tr("Cancel"));
    cancel->setToolTip(tr("End the transfer; the file it is at stays as it was"));
    cancel->setFont(Theme::captionFont(font()));
    cancel->setFocusPolicy(Qt::StrongFocus);
    row->addWidget(cancel);
    auto *column = new QVBoxLayout(transfer);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new Divider);
    column->addLayout(row);

    const auto cancelTransfer = [this] { m_state.transfer().cancel(); };
    connect(cancel, &QToolButton::clicked, transfer, cancelTransfer);
    auto *escape = new QShortcut(Qt::Key_Escape, cancel);
    escape->setContext(Qt::WidgetShortcut);
    connect(escape, &QShortcut::activated, transfer, cancelTransfer);

    const auto show = [this, transfer, status, cancel] {
        const QString text = m_state.transfer().status();
        status->setText(text);
        cancel->setVisible(m_state.transfer().canCancel());
        transfer->setToolTip(PlainText::toolTip(text));
        transfer->setVisible(m_state.transfer().isSendingToDevice());
    };
    connect(&m_state.transfer(), &TransferStatus::statusChanged, transfer, show);
    connect(&m_state.transfer(), &TransferStatus::isSendingToDeviceChanged, transfer, show);
    show();
    return transfer;
}

void SidebarView::showTab()
{
    const bool isLocal = m_state.sidebarTab() == AppState::SidebarTab::Local;
    (isLocal ? m_localTab : m_deviceTab)->setChecked(true);
    m_body->setCurrentWidget(isLocal ? m_localBrowser : m_deviceBrowser);
}

} // namespace Korvane
