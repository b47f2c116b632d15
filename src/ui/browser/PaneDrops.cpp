#include "ui/browser/PaneDrops.h"

#include "ui/browser/FileListView.h"

#include <QAbstractItemModel>
#include <QDropEvent>
#include <QMimeData>
#include <QScrollBar>

#include <chrono>

namespace Korvane {

using namespace std::chrono_literals;

namespace {

constexpr auto hoverTime = 800ms;
/// The height of the zones at the upper and lower edge of the list in which a drag scrolls it.
constexpr int scrollMargin = 14;

} // namespace

PaneDrops::PaneDrops(Target &target, QWidget &pane, FileListView &list, QWidget &up)
    : QObject(&pane)
    , m_target(target)
    , m_pane(pane)
    , m_list(list)
    , m_up(up)
{
    pane.setAcceptDrops(true); // Qt sends it the events of child widgets that accept no drops
    pane.installEventFilter(this);
    m_hoverTimeout.setSingleShot(true);
    m_hoverTimeout.setInterval(hoverTime);
    connect(&m_hoverTimeout, &QTimer::timeout, this, [this] { emit folderHovered(m_hoverRow); });
    connect(list.model(), &QAbstractItemModel::modelReset, this, [this] {
        if (m_hoverRow >= 0)
            m_hoverTimeout.stop();
        m_hoverRow = -1;
        m_hasNewRows = true;
    });
}

bool PaneDrops::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::DragEnter: {
        auto *drag = static_cast<QDragEnterEvent *>(event);
        m_hasNewRows = false;
        drag->setAccepted(m_target.accepts(*drag->mimeData()));
        return true;
    }
    case QEvent::DragMove:
        m_hasNewRows = false;
        handleDrag(*static_cast<QDropEvent *>(event));
        return true;
    case QEvent::DragLeave:
        end();
        return true;
    case QEvent::Drop: {
        auto *drop = static_cast<QDropEvent *>(event);
        handleDrag(*drop);
        const Place place = placeOf(*drop);
        end();
        if (drop->isAccepted())
            m_target.drop(*drop->mimeData(), place.folder);
        return true;
    }
    default:
        return QObject::eventFilter(watched, event);
    }
}

PaneDrops::Place PaneDrops::placeOf(const QDropEvent &event) const
{
    const QPoint position = event.position().toPoint();
    if (m_up.rect().contains(m_up.mapFrom(&m_pane, position)))
        return {m_target.enclosingFolder(), -1, true};
    const QPoint inList = m_list.viewport()->mapFrom(&m_pane, position);
    const int row = m_list.isVisible() && m_list.viewport()->rect().contains(inList)
        ? m_list.indexAt(inList).row()
        : -1;
    if (row >= 0 && !m_hasNewRows && m_target.isFolder(row))
        return {m_target.dropFolder(row), row, false};
    return {m_target.dropFolder(-1), -1, false};
}

void PaneDrops::handleDrag(QDropEvent &event)
{
    const Place place = placeOf(event);
    const Qt::DropAction action = m_target.dropAction(*event.mimeData(), place.folder);
    const bool isAccepted = (event.possibleActions() & action) != Qt::IgnoreAction;
    m_list.setDropRow(isAccepted ? place.row : -1);
    if (event.type() != QEvent::Drop && (place.row != m_hoverRow || place.isUp != m_isHoveringUp)) {
        m_hoverRow = place.row;
        m_isHoveringUp = place.isUp;
        if (place.row >= 0 || place.isUp)
            m_hoverTimeout.start();
        else
            m_hoverTimeout.stop();
    }
    const int y = m_list.viewport()->mapFrom(&m_pane, event.position().toPoint()).y();
    if (event.type() == QEvent::DragMove && m_list.isVisible()) {
        QScrollBar *bar = m_list.verticalScrollBar();
        if (y >= 0 && y < scrollMargin)
            bar->setValue(bar->value() - bar->singleStep());
        else if (y > m_list.viewport()->height() - scrollMargin)
            bar->setValue(bar->value() + bar->singleStep());
    }
    event.setDropAction(isAccepted ? action : Qt::IgnoreAction);
    event.setAccepted(isAccepted);
}

void PaneDrops::end()
{
    m_list.setDropRow(-1);
    m_hoverTimeout.stop();
    m_hoverRow = -1;
    m_isHoveringUp = false;
}

} // namespace Korvane
