#include "ui/window/DebugBar.h"

#include "app/AppState.h"
#include "ui/controls/Divider.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/ProgressIndicator.h"
#include "ui/controls/SymbolView.h"
#include "ui/window/Actions.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

namespace Korvane {

namespace {

constexpr int symbolSize = 16;

} // namespace

DebugBar::DebugBar(AppState &state, const Actions &actions, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_progress(new ProgressIndicator(symbolSize))
    , m_pauseSymbol(
          new SymbolView(QStringLiteral("pause.circle.fill"), Theme::Role::Yellow, symbolSize))
    , m_status(new QLabel)
    , m_hint(new ElidedLabel(Qt::ElideRight))
{
    setObjectName(QStringLiteral("debugBar"));
    setAccessibleName(tr("Debugger"));
    m_status->setObjectName(QStringLiteral("debugStatus"));
    m_hint->setObjectName(QStringLiteral("debugHint"));
    m_hint->setText(tr("locals are in the Variables tab"));
    m_hint->setFont(Theme::captionFont(font()));
    m_hint->setForegroundRole(QPalette::PlaceholderText);

    auto *row = new QHBoxLayout;
    row->setContentsMargins(10, 6, 10, 6);
    row->setSpacing(10);
    row->addWidget(m_progress);
    row->addWidget(m_pauseSymbol);
    row->addWidget(m_status);
    row->addWidget(m_hint);
    row->addWidget(makeButton(actions[Actions::Step]));
    row->addWidget(makeButton(actions[Actions::Continue]));
    QToolButton *stop = makeButton(actions[Actions::StopDebugging]);
    stop->setAccessibleName(tr("Stop Debugging")); // the Shell has a button Stop, too
    row->addWidget(stop);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(row);
    column->addWidget(new Divider);

    connect(&state.debugSession(), &DebugSession::changed, this, &DebugBar::showState);
    showState();
}

QToolButton *DebugBar::makeButton(QAction *action)
{
    auto *button = new QToolButton;
    button->setDefaultAction(action);
    button->setObjectName(action->objectName());
    button->setAccessibleDescription(action->toolTip());
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setIconSize(QSize(14, 14));
    button->setFont(Theme::captionFont(font()));
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

void DebugBar::showState()
{
    const DebugSession &session = m_state.debugSession();
    if (session.isDebugging()) // laying out a hidden bar would lengthen the start-up time
        showLine(session.pausedAt());
    const bool hadFocus = focusWidget() && focusWidget()->hasFocus();
    setVisible(session.isDebugging());
    if (hadFocus && !session.isDebugging())
        emit hiddenWithFocus();
}

void DebugBar::showLine(const std::optional<int> &line)
{
    m_progress->setVisible(!line);
    m_pauseSymbol->setVisible(line.has_value());
    m_hint->setVisible(line.has_value());
    QFont statusFont = font();
    if (line)
        statusFont.setWeight(QFont::Medium);
    m_status->setFont(statusFont);
    m_status->setForegroundRole(line ? QPalette::WindowText : QPalette::PlaceholderText);
    m_status->setText(line ? tr("Paused at line %1").arg(*line)
                           : tr("Running to the next breakpoint…"));
    fitButtons();
}

void DebugBar::fitButtons()
{
    const QList<QToolButton *> buttons = findChildren<QToolButton *>();
    for (const Qt::ToolButtonStyle style : {Qt::ToolButtonTextBesideIcon, Qt::ToolButtonIconOnly}) {
        for (QToolButton *button : buttons)
            button->setToolButtonStyle(style);
        layout()->activate();
        if (layout()->totalMinimumSize().width() <= width())
            return;
    }
}

void DebugBar::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitButtons();
}

void DebugBar::paintEvent(QPaintEvent *)
{
    QPainter(this).fillRect(rect(), Theme::of(palette()).color(Theme::Role::YellowTint));
}

} // namespace Korvane
