#include "ui/variables/VariablesView.h"

#include "app/AppState.h"
#include "board/DeviceLink.h"
#include "debugger/DebugSession.h"
#include "ui/controls/Divider.h"
#include "ui/controls/ElidedLabel.h"
#include "ui/controls/IconButton.h"
#include "ui/controls/PlainText.h"
#include "ui/controls/SymbolView.h"
#include "ui/variables/VariablesModel.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QShowEvent>
#include <QStackedWidget>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>

namespace Korvane {

namespace {

constexpr int smallestValueWidth = 96;

} // namespace

VariablesView::VariablesView(AppState &state, QWidget *parent)
    : QWidget(parent)
    , m_state(state)
    , m_model(new VariablesModel(this))
    , m_table(new QTableView)
    , m_body(new QStackedWidget)
    , m_caption(new ElidedLabel(Qt::ElideMiddle))
    , m_emptyHint(new QLabel)
{
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    setUpTable();
    m_emptyState = makeEmptyState();
    m_body->addWidget(m_emptyState);
    m_body->addWidget(m_table);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(new Divider);
    column->addWidget(m_body, 1);

    connect(&state.variablesStore(), &VariablesStore::variablesChanged, this,
            &VariablesView::showVariables);
    connect(&state.debugSession(), &DebugSession::changed, this, &VariablesView::showSource);
    connect(&state.link(), &DeviceLink::connectionStateChanged, this, &VariablesView::showSource);
    showVariables();
    showSource();
}

void VariablesView::setUpTable()
{
    m_table->setObjectName(QStringLiteral("variables"));
    m_table->setAccessibleName(tr("Variables"));
    m_table->setFrameShape(QFrame::NoFrame);
    m_table->setShowGrid(false);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setTabKeyNavigation(false); // Tab leaves the table
    m_table->setWordWrap(false);
    m_table->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_table->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_table->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff); // long values are elided
    m_table->verticalHeader()->hide();
    QHeaderView *header = m_table->horizontalHeader();
    header->setStretchLastSection(true);
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
}

/// Gives the table its model. Called when the pane is first shown, since the header then measures
/// its titles, which loads another font.
void VariablesView::fillTable()
{
    m_table->setModel(m_model);
    m_table->verticalHeader()->setDefaultSectionSize(QFontMetrics(Theme::monospacedFont()).height()
                                                     + 8);
    QHeaderView *header = m_table->horizontalHeader();
    connect(header, &QHeaderView::sectionResized, this, [this](int column, int, int width) {
        if (column != VariablesModel::Value && !m_isFitting)
            m_wantedWidths[static_cast<size_t>(column)] = width; // by the user
    });
    fitColumns();
}

/// Reduces the widths of names and types where the values would be narrower than
/// smallestValueWidth.
void VariablesView::fitColumns()
{
    const QScopedValueRollback guard(m_isFitting, true);
    const int wanted = m_wantedWidths[0] + m_wantedWidths[1];
    const int room = std::min(std::max(width() - smallestValueWidth, smallestValueWidth), wanted);
    for (const int column : {VariablesModel::Name, VariablesModel::Type})
        m_table->horizontalHeader()->resizeSection(
            column, m_wantedWidths[static_cast<size_t>(column)] * room / wanted);
}

QWidget *VariablesView::makeHeader()
{
    auto *header = new QWidget;
    auto *title = new QLabel(tr("Variables"));
    title->setFont(Theme::headlineFont(font()));
    m_caption->setObjectName(QStringLiteral("variablesCaption"));
    m_caption->setFont(Theme::captionFont(font()));
    m_caption->setForegroundRole(QPalette::PlaceholderText);
    auto *restart =
        new IconButton(QStringLiteral("arrow.counterclockwise.circle"), Theme::Role::SecondaryLabel,
                       tr("Restart the local Python session, clearing every variable"));
    restart->setObjectName(QStringLiteral("restartSession"));
    auto *refresh = new IconButton(QStringLiteral("arrow.clockwise"), Theme::Role::SecondaryLabel,
                                   tr("Refresh variables"));
    refresh->setObjectName(QStringLiteral("refreshVariables"));
    connect(restart, &QToolButton::clicked, this, [this] {
        m_state.errors().reportFailureOf(m_state.variablesStore().restartLocalSession());
    });
    connect(refresh, &QToolButton::clicked, this, [this] {
        m_state.errors().reportFailureOf(m_state.variablesStore().refreshVariables());
    });

    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(8);
    row->addWidget(title);
    row->addWidget(m_caption, 1);
    row->addWidget(restart);
    row->addWidget(refresh);
    return header;
}

QWidget *VariablesView::makeEmptyState()
{
    auto *page = new QWidget;
    auto *title = new QLabel(tr("No variables yet"));
    title->setForegroundRole(QPalette::PlaceholderText);
    m_emptyHint->setObjectName(QStringLiteral("variablesHint"));
    m_emptyHint->setFont(Theme::captionFont(font()));
    m_emptyHint->setForegroundRole(QPalette::PlaceholderText);
    m_emptyHint->setWordWrap(true);
    m_emptyHint->setAlignment(Qt::AlignCenter);

    auto *column = new QVBoxLayout(page);
    column->setSpacing(4);
    column->addStretch();
    column->addWidget(new SymbolView(QStringLiteral("tray"), Theme::Role::TertiaryLabel, 32), 0,
                      Qt::AlignHCenter);
    column->addWidget(title, 0, Qt::AlignHCenter);
    column->addWidget(m_emptyHint);
    column->addStretch();
    return page;
}

void VariablesView::showVariables()
{
    const QList<PythonVariable> &variables = m_state.variablesStore().variables();
    // All rows are replaced; the current row and the scroll position are kept.
    const QString chosen =
        m_table->currentIndex().siblingAtColumn(VariablesModel::Name).data().toString();
    const int scrolledTo = m_table->verticalScrollBar()->value();
    m_model->setVariables(variables);
    const auto again =
        std::find_if(variables.cbegin(), variables.cend(),
                     [&](const PythonVariable &variable) { return variable.name == chosen; });
    if (again != variables.cend()) {
        const auto row = static_cast<int>(again - variables.cbegin());
        m_table->setCurrentIndex(m_model->index(row, VariablesModel::Name));
    }
    m_table->verticalScrollBar()->setValue(scrolledTo);

    const bool isEmpty = variables.isEmpty();
    m_body->setCurrentWidget(isEmpty ? m_emptyState : static_cast<QWidget *>(m_table));
    if (!isEmpty && m_table->model() && !std::exchange(m_columnsFitted, true)) {
        const QAbstractItemView *table = m_table; // QTableView hides the size hints
        for (const int column : {VariablesModel::Name, VariablesModel::Type}) {
            int &width = m_wantedWidths[static_cast<size_t>(column)];
            width = std::clamp(table->sizeHintForColumn(column) + 16, width, 320);
        }
        fitColumns();
    }
}

bool VariablesView::focusTable()
{
    if (m_body->currentWidget() != m_table || m_model->rowCount() == 0)
        return false;
    if (!m_table->currentIndex().isValid())
        m_table->selectRow(0);
    m_table->setFocus();
    return true;
}

void VariablesView::showSource()
{
    const QString caption = m_state.variablesCaption();
    m_caption->setText(caption);
    m_caption->setToolTip(PlainText::toolTip(caption)); // a long path of a port is elided
    m_emptyHint->setText(m_state.link().connectionState().isConnected()
                             ? tr("Run code on the device to inspect its variables")
                             : tr("Run code to inspect variables"));
}

void VariablesView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (m_table->model())
        fitColumns();
}

void VariablesView::showEvent(QShowEvent *event)
{
    if (!m_table->model()) {
        fillTable();
        showVariables();
    }
    QWidget::showEvent(event);
    if (!event->spontaneous()) // spontaneous: the window is no longer minimized
        m_state.errors().reportFailureOf(m_state.variablesStore().refreshVariables());
}

} // namespace Korvane
