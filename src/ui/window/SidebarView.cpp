#include "ui/window/SidebarView.h"

#include "app/AppState.h"
#include "theme/Icons.h"
#include "ui/browser/BoardPathsMime.h"
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
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>

namespace Korvane {

namespace {

using namespace std::chrono_literals;

constexpr auto tabHoverTime = 500ms;

QToolButton *makeTab(const QString &symbol, const QString &title)
{
    auto *tab = new PaneTab(title);
    tab->setObjectName(symbol);
    tab->setIcon(Icons::icon(symbol));
    tab->setIconSize(QSize(16, 16));
    tab->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    return tab;
}

/// The widgets in \p pane that the Tab key reaches, in its order.
QList<QWidget *> controlsIn(const QWidget &pane)
{
    QList<QWidget *> controls;
    for (QWidget *next = pane.nextInFocusChain(); pane.isAncestorOf(next);
         next = next->nextInFocusChain()) {
        if (next->focusPolicy() & Qt::TabFocus)
            controls << next;
    }
    return controls;
}

} // namespace

SidebarView::SidebarView(AppState &state, Actions &actions, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_localTab(makeTab(QStringLiteral("laptopcomputer"), tr("Local")))
    , m_deviceTab(makeTab(QStringLiteral("cpu"), tr("Device")))
    , m_body(new QStackedWidget)
    , m_localBrowser(new FileBrowserView(state))
    , m_commands(new BrowserCommands(actions, *m_localBrowser, this))
{
    setObjectName(QStringLiteral("sidebar"));
    m_localBrowser->setObjectName(QStringLiteral("localBrowser"));
    m_body->addWidget(m_localBrowser);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makePicker());
    column->addWidget(new Divider);
    column->addWidget(m_body, 1);
    column->addWidget(makeTransferRow());
    updateMinimumWidth();

    connect(m_localTab, &QToolButton::clicked, this,
            [this] { m_state.setSidebarTab(AppState::SidebarTab::Local); });
    connect(m_deviceTab, &QToolButton::clicked, this,
            [this] { m_state.setSidebarTab(AppState::SidebarTab::Device); });
    connect(m_commands, &BrowserCommands::paneNeeded, this, &SidebarView::showRequested);
    connect(&state, &AppState::sidebarTabChanged, this, &SidebarView::showTab);
    for (QToolButton *tab : {m_localTab, m_deviceTab}) {
        tab->setAcceptDrops(true);
        tab->installEventFilter(this);
    }
    m_tabHoverTimeout.setSingleShot(true);
    m_tabHoverTimeout.setInterval(tabHoverTime);
    connect(&m_tabHoverTimeout, &QTimer::timeout, this, [this] { m_dragTab->click(); });
    showTab();
}

void SidebarView::focusPane()
{
    static_cast<BrowserPane *>(m_body->currentWidget())->focusEntries();
}

bool SidebarView::eventFilter(QObject *watched, QEvent *event)
{
    const auto pane = [&] { return watched == m_localTab ? m_localBrowser : deviceBrowser(); };
    switch (event->type()) {
    case QEvent::DragEnter: {
        auto *drag = static_cast<QDragEnterEvent *>(event);
        if (!pane()->acceptsDrop(*drag->mimeData()) || !acceptAsCopy(*drag))
            return false;
        m_dragTab = watched == m_localTab ? m_localTab : m_deviceTab;
        m_tabHoverTimeout.start();
        return true;
    }
    case QEvent::DragLeave:
    case QEvent::Drop:
        m_tabHoverTimeout.stop();
        if (event->type() == QEvent::Drop) {
            auto *drop = static_cast<QDropEvent *>(event);
            drop->setAccepted(acceptAsCopy(*drop) && pane()->dropHere(*drop->mimeData()));
        }
        return true;
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
    auto *progress = new ElidedLabel(Qt::ElideRight);
    progress->setObjectName(QStringLiteral("transferProgress"));
    progress->setFont(Theme::captionFont(font()));
    auto *indicator = new ProgressIndicator(14);
    const auto makeButton = [this](const QString &text, const QString &help, const char *name) {
        auto *button = new QToolButton;
        button->setObjectName(QLatin1StringView(name));
        button->setText(text);
        button->setToolTip(help);
        button->setFont(Theme::captionFont(font()));
        button->setFocusPolicy(Qt::StrongFocus);
        return button;
    };
    auto *cancel = makeButton(tr("Cancel"),
                              tr("Cancel the transfer. The Shell says in what state the file is."),
                              "cancelTransfer");
    auto *resume =
        makeButton(tr("Try Again"), tr("Continue with the file at which the transfer ended"),
                   "resumeTransfer");
    auto *dismiss = makeButton(tr("Dismiss"), tr("Don’t copy the rest"), "dismissTransfer");
    auto *upper = new QHBoxLayout;
    upper->setSpacing(6);
    upper->addWidget(indicator);
    upper->addWidget(status, 1);
    upper->addWidget(cancel);
    auto *lower = new QHBoxLayout;
    lower->setSpacing(6);
    lower->addWidget(progress, 1);
    lower->addStretch();
    lower->addWidget(resume);
    lower->addWidget(dismiss);
    auto *row = new QVBoxLayout;
    row->setContentsMargins(8, 5, 8, 5);
    row->setSpacing(3);
    row->addLayout(upper);
    row->addLayout(lower);
    auto *column = new QVBoxLayout(transfer);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(new Divider);
    column->addLayout(row);

    connect(cancel, &QToolButton::clicked, transfer, [this] { m_state.transfer().cancel(); });
    connect(resume, &QToolButton::clicked, transfer,
            [this] { m_state.errors().reportFailureOf(m_state.transfer().resumeRest()); });
    connect(dismiss, &QToolButton::clicked, transfer, [this] { m_state.transfer().dropRest(); });

    const auto show = [=, this] {
        const TransferStatus &shown = m_state.transfer();
        const bool isRunning = shown.isSendingToDevice();
        const auto *rest = isRunning ? nullptr : shown.rest();
        const QString text = rest ? tr("Stopped at %1").arg(rest->file) : shown.status();
        status->setText(text);
        progress->setText(shown.progress());
        progress->setVisible(!shown.progress().isEmpty());
        indicator->setVisible(isRunning);
        cancel->setVisible(shown.canCancel());
        resume->setVisible(rest);
        dismiss->setVisible(rest);
        transfer->setToolTip(PlainText::toolTip(text + u' ' + shown.progress()));
        transfer->setVisible(isRunning || rest);
    };
    for (auto changed : {&TransferStatus::statusChanged, &TransferStatus::restChanged,
                         &TransferStatus::isSendingToDeviceChanged})
        connect(&m_state.transfer(), changed, transfer, show);
    show();
    return transfer;
}

BrowserPane *SidebarView::deviceBrowser()
{
    if (!m_deviceBrowser) {
        m_deviceBrowser = new DeviceFileBrowserView(m_state);
        m_deviceBrowser->setObjectName(QStringLiteral("deviceBrowser"));
        m_body->addWidget(m_deviceBrowser);
        // It is made after the rest of the window, and would be last in the order of the Tab key.
        QWidget *previous = controlsIn(*m_localBrowser).last();
        for (QWidget *control : controlsIn(*m_deviceBrowser)) {
            setTabOrder(previous, control);
            previous = control;
        }
        m_commands->addDevice(*m_deviceBrowser);
        updateMinimumWidth();
    }
    return m_deviceBrowser;
}

void SidebarView::updateMinimumWidth()
{
    setMinimumWidth(std::max(170, minimumSizeHint().width())); // translations may be longer
}

void SidebarView::showTab()
{
    const bool isLocal = m_state.sidebarTab() == AppState::SidebarTab::Local;
    (isLocal ? m_localTab : m_deviceTab)->setChecked(true);
    BrowserPane *pane = isLocal ? m_localBrowser : deviceBrowser();
    // The list that is hidden loses the focus, and Qt would commit a name that is being typed.
    static_cast<BrowserPane *>(m_body->currentWidget())->list().cancelEditing();
    m_body->setCurrentWidget(pane);
    m_commands->setShown(*pane);
}

} // namespace Korvane
