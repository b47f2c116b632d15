#include "ui/shell/HistorySearch.h"

#include "app/InputHistory.h"
#include "base/VisibleText.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace Korvane {

namespace {

constexpr int maxShown = 100;
constexpr int preferredHeight = 200;
constexpr int commandRole = Qt::UserRole;

} // namespace

HistorySearch::HistorySearch(const InputHistory &history, QWidget *parent)
    : QFrame(parent)
    , m_history(history)
    , m_text(new QLineEdit)
    , m_matches(new QListWidget)
{
    setObjectName(QStringLiteral("historySearch"));
    m_text->setAcceptDrops(false); // a file that is dropped with Shift would count as moved
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    m_text->setObjectName(QStringLiteral("historyText"));
    m_text->setAccessibleName(tr("Search in the history"));
    m_text->setPlaceholderText(tr("Search in the history…"));
    m_text->setFont(Theme::monospacedFont());
    m_matches->setObjectName(QStringLiteral("historyMatches"));
    m_matches->setAccessibleName(tr("Earlier commands"));
    m_matches->setFont(Theme::monospacedFont());
    m_matches->setFrameShape(QFrame::NoFrame);
    m_matches->setFocusPolicy(Qt::NoFocus);
    m_matches->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_matches->setUniformItemSizes(true);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 4);
    column->setSpacing(4);
    column->addWidget(m_text);
    column->addWidget(m_matches, 1);
    m_text->installEventFilter(this);
    connect(m_text, &QLineEdit::textChanged, this, &HistorySearch::showMatches);
    connect(m_matches, &QListWidget::itemClicked, this, &HistorySearch::choose);
    connect(qApp, &QApplication::focusChanged, this, [this](const QWidget *, const QWidget *now) {
        // Without `now` another window has the focus, which returns to the field from there.
        if (isVisible() && now && now != m_text && now->window() == window())
            hide();
    });
    hide();
}

void HistorySearch::open(const QString &text, int bottom)
{
    const int height = std::min(preferredHeight, bottom);
    setGeometry(0, bottom - height, parentWidget()->width(), height);
    m_text->setText(text);
    m_text->selectAll();
    showMatches();
    show();
    raise();
    m_text->setFocus();
}

bool HistorySearch::eventFilter(QObject *watched, QEvent *event)
{
    const bool isOverride = event->type() == QEvent::ShortcutOverride;
    if (!isOverride && event->type() != QEvent::KeyPress)
        return QFrame::eventFilter(watched, event);
    const auto *key = static_cast<QKeyEvent *>(event);
    const bool isNext = key->keyCombination() == (Qt::CTRL | Qt::Key_R);
    if (isOverride) {
        if (isNext)
            event->accept(); // elsewhere in the window it is the key of Run
        return isNext;
    }
    if (isNext || key->key() == Qt::Key_Down)
        step(1);
    else if (key->key() == Qt::Key_Up)
        step(-1);
    else if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)
        choose();
    else if (key->key() == Qt::Key_Escape)
        emit canceled();
    else
        return false;
    return true;
}

void HistorySearch::showMatches()
{
    m_matches->clear();
    for (const QString &command : m_history.matching(m_text->text()).mid(0, maxShown)) {
        auto *item = new QListWidgetItem(VisibleText::line(command), m_matches);
        item->setData(commandRole, command);
    }
    m_matches->setCurrentRow(0);
}

void HistorySearch::step(int rows)
{
    m_matches->setCurrentRow(
        std::clamp(m_matches->currentRow() + rows, 0, std::max(0, m_matches->count() - 1)));
}

void HistorySearch::choose()
{
    const QListWidgetItem *item = m_matches->currentItem();
    if (item)
        emit chosen(item->data(commandRole).toString());
    else
        emit canceled();
}

} // namespace Korvane
