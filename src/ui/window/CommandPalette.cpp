#include "ui/window/CommandPalette.h"

#include <QAction>
#include <QCoreApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace Korvane {

namespace {

constexpr QSize largest(560, 380);
constexpr int rowPadding = 8;
constexpr int margin = 20; // to the edges of the window

/// The text of \p action without the "&" of its mnemonic.
QString nameOf(const QAction &action)
{
    QString name = action.text();
    const qsizetype before = name.size();
    name.replace(QStringLiteral("&&"), QStringLiteral("\n"));
    name.remove(u'&');
    return before == name.size() ? name : name.replace(u'\n', u'&');
}

/// How well \p name matches the typed text: 0 is best; nothing when it lacks one of the words.
std::optional<qsizetype> rankOf(const QString &name, const QStringList &words)
{
    qsizetype rank = 0;
    for (const QString &word : words) {
        const qsizetype place = name.indexOf(word, 0, Qt::CaseInsensitive);
        if (place < 0)
            return std::nullopt;
        const bool isWordStart = place == 0 || !name[place - 1].isLetter();
        rank += isWordStart ? 0 : 1;
    }
    return rank;
}

} // namespace

CommandPalette::CommandPalette(QMainWindow &window)
    : QFrame(&window, Qt::Popup)
    , m_window(window)
    , m_field(new QLineEdit)
    , m_list(new QTreeWidget)
{
    setObjectName(QStringLiteral("commandPalette"));
    m_field->setAcceptDrops(false); // a file that is dropped with Shift would count as moved
    setAccessibleName(tr("Commands"));
    setFrameShape(QFrame::StyledPanel);
    m_field->setObjectName(QStringLiteral("commandField"));
    m_field->setPlaceholderText(tr("Name of a command"));
    m_field->setAccessibleName(tr("Name of a command"));
    m_field->installEventFilter(this);
    m_list->setObjectName(QStringLiteral("commandList"));
    m_list->setAccessibleName(tr("Commands"));
    m_list->setColumnCount(2);
    m_list->setHeaderHidden(true);
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->addWidget(m_field);
    column->addWidget(m_list, 1);
    connect(m_field, &QLineEdit::textChanged, this, &CommandPalette::list);
    connect(m_list, &QTreeWidget::itemClicked, this, &CommandPalette::runCurrent);
}

void CommandPalette::open()
{
    collect();
    m_field->clear();
    list();
    const QRect room = m_window.rect().adjusted(margin, margin, -margin, -margin);
    const QSize size = largest.boundedTo(room.size());
    resize(size);
    const QPoint top(room.center().x() - size.width() / 2, room.top());
    move(m_window.mapToGlobal(top));
    show();
    m_field->setFocus();
}

void CommandPalette::collect()
{
    m_entries.clear();
    collectFrom(m_window.menuBar()->actions(), QString());
    // Actions that are in no menu. Those that toolbars and fields make have a widget as their
    // parent.
    QList<QAction *> others;
    for (QAction *action : m_window.findChildren<QAction *>()) {
        const bool isKnown =
            std::any_of(m_entries.cbegin(), m_entries.cend(),
                        [action](const Entry &entry) { return entry.action == action; });
        if (!isKnown && !action->menu() && !action->parent()->isWidgetType())
            others << action;
    }
    collectFrom(others, QString());
}

void CommandPalette::collectFrom(const QList<QAction *> &actions, const QString &menu)
{
    for (QAction *action : actions) {
        if (action->isSeparator() || !action->isVisible() || !action->isEnabled())
            continue;
        const QString text = nameOf(*action);
        const QString name = menu.isEmpty() ? text : tr("%1: %2").arg(menu, text);
        if (QMenu *submenu = action->menu()) {
            emit submenu->aboutToShow(); // some are filled only then
            collectFrom(submenu->actions(), name);
        } else if (!text.isEmpty()) {
            m_entries.append({name, action});
        }
    }
}

void CommandPalette::list()
{
    const QStringList words = m_field->text().split(u' ', Qt::SkipEmptyParts);
    QList<std::pair<qsizetype, const Entry *>> found;
    for (const Entry &entry : std::as_const(m_entries)) {
        if (const auto rank = rankOf(entry.name, words); rank && entry.action)
            found.append({*rank, &entry});
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto &one, const auto &other) { return one.first < other.first; });
    m_list->clear();
    for (const auto &[rank, entry] : std::as_const(found)) {
        const QString keys = entry->action->shortcut().toString(QKeySequence::NativeText);
        auto *item = new QTreeWidgetItem(m_list, {entry->name, keys});
        item->setSizeHint(0, QSize(0, m_list->fontMetrics().height() + rowPadding));
        item->setData(0, Qt::UserRole, static_cast<int>(entry - m_entries.constData()));
        item->setForeground(1, palette().brush(QPalette::PlaceholderText));
        if (entry->action->isCheckable())
            item->setText(0,
                          entry->action->isChecked() ? tr("%1 ✓").arg(entry->name) : entry->name);
    }
    m_list->setCurrentItem(m_list->topLevelItem(0));
}

void CommandPalette::runCurrent()
{
    const QTreeWidgetItem *item = m_list->currentItem();
    if (!item)
        return;
    const QPointer<QAction> action = m_entries[item->data(0, Qt::UserRole).toInt()].action;
    hide(); // first, so that the focus is where it was
    if (action)
        action->trigger();
}

bool CommandPalette::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return QFrame::eventFilter(watched, event);
    auto *key = static_cast<QKeyEvent *>(event);
    switch (key->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        QCoreApplication::sendEvent(m_list, event);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        runCurrent();
        return true;
    case Qt::Key_Escape:
        hide();
        return true;
    default:
        return QFrame::eventFilter(watched, event);
    }
}

} // namespace Korvane
