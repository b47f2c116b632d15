#include "ui/window/EditorTabStrip.h"

#include "app/AppState.h"
#include "base/VisibleText.h"
#include "theme/Icons.h"
#include "theme/Theme.h"
#include "ui/controls/PlainText.h"
#include "ui/controls/TabCloseButton.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScopedValueRollback>
#include <QStyleOption>
#include <QWheelEvent>

#include <algorithm>

namespace Korvane {

namespace {

constexpr int stripHeight = 34;
constexpr int gap = 4; // between two tabs
constexpr int padding = 10;
constexpr int symbolSize = 11;
constexpr int nameSize = 12;
constexpr int spacing = 6; // between icon, name and end
constexpr int endSize = 16;
constexpr int dotSize = 6;
constexpr int lineHeight = 2;
constexpr int widestName = 260;

/// In place of the close button while there are edits that are not saved.
class ModifiedDot final : public QWidget
{
public:
    ModifiedDot()
    {
        setObjectName(QStringLiteral("modifiedDot"));
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFixedSize(endSize, endSize);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::of(palette()).color(Theme::Role::Accent));
        constexpr int margin = (endSize - dotSize) / 2;
        painter.drawEllipse(margin, margin, dotSize, dotSize);
    }
};

} // namespace

EditorTabStrip::EditorTabStrip(AppState &state, QWidget *parent)
    : QTabBar(parent)
    , m_state(state)
{
    setObjectName(QStringLiteral("tabs"));
    setAccessibleName(tr("Open files"));
    setFixedHeight(stripHeight);
    setDrawBase(false);
    setExpanding(false);
    setElideMode(Qt::ElideNone);
    setUsesScrollButtons(true);
    setFocusPolicy(Qt::TabFocus);
    QFont nameFont = font();
    nameFont.setPixelSize(nameSize);
    setFont(nameFont);
    connect(this, &QTabBar::currentChanged, this, [this](int index) {
        if (!m_isUpdating)
            m_state.documents().select(idAt(index));
    });
    OpenFiles &documents = state.documents();
    connect(&documents, &OpenFiles::fileChosen, this, &EditorTabStrip::revealSelected);
    connect(&documents, &OpenFiles::openFilesChanged, this, &EditorTabStrip::updateTabs);
    connect(&documents, &OpenFiles::selectedFileChanged, this, &EditorTabStrip::updateTabs);
    connect(&documents, &OpenFiles::fileChanged, this, [this](const QUuid &id) {
        const EditorFile *file = m_state.documents().file(id);
        if (const int index = indexOf(id); file && index >= 0)
            showFile(index, *file);
    });
    updateTabs();
}

void EditorTabStrip::updateTabs()
{
    const QScopedValueRollback guard(m_isUpdating, true);
    const OpenFiles &documents = m_state.documents();
    for (int index = count() - 1; index >= 0; --index) {
        if (!documents.file(idAt(index)))
            removeTab(index);
    }
    const QList<EditorFile *> files = documents.openFiles();
    for (int i = 0; i < static_cast<int>(files.size()); ++i) {
        const int shown = indexOf(files[i]->id());
        if (shown >= 0) {
            if (shown != i)
                moveTab(shown, i);
            continue;
        }
        insertTab(i, QString());
        setTabData(i, files[i]->id());
        showFile(i, *files[i]);
    }
    setCurrentIndex(indexOf(documents.selectedFileID()));
}

void EditorTabStrip::revealSelected()
{
    // QTabBar scrolls to the current tab where that changes, and whenever a text is set.
    setTabText(currentIndex(), tabText(currentIndex()));
}

void EditorTabStrip::showFile(int index, const EditorFile &file)
{
    setTabText(index, PlainText::label(file.name()));
    QString where = file.name();
    if (file.place().kind == DocumentPlace::Kind::Local)
        where = file.path();
    else if (file.place().kind == DocumentPlace::Kind::Board)
        where = tr("%1 on the device").arg(file.devicePath());
    setTabToolTip(index, PlainText::toolTip(where));
    const QString name = VisibleText::line(file.name());
    setAccessibleTabName(index, file.isModified() ? tr("%1, edited").arg(name) : name);

    QWidget *end = nullptr;
    if (file.isModified()) {
        end = new ModifiedDot;
    } else {
        auto *button = new TabCloseButton(file.name());
        connect(button, &QToolButton::clicked, this,
                [this, id = file.id()] { close(indexOf(id)); });
        end = button;
    }
    if (QWidget *previous = tabButton(index, RightSide))
        previous->deleteLater(); // its signal clicked may be the cause
    setTabButton(index, RightSide, end);
    // Otherwise a tab that does not fit would be visible behind the arrows.
    for (const QString &arrowName :
         {QStringLiteral("ScrollLeftButton"), QStringLiteral("ScrollRightButton")}) {
        if (auto *arrow = findChild<QToolButton *>(arrowName, Qt::FindDirectChildrenOnly)) {
            arrow->setAutoFillBackground(true);
            arrow->raise();
        }
    }
}

void EditorTabStrip::close(int index)
{
    m_state.closing().close(idAt(index));
}

void EditorTabStrip::closeSelected()
{
    close(indexOf(m_state.documents().selectedFileID()));
}

void EditorTabStrip::step(int tabs)
{
    if (count() > 0)
        setCurrentIndex(((currentIndex() + tabs) % count() + count()) % count());
}

QCoro::Task<void> EditorTabStrip::closeOthers(QUuid kept)
{
    const QPointer<EditorTabStrip> self = this;
    QList<QUuid> others; // saving one may close another, whose file it replaces
    for (int index = 0; index < count(); ++index) {
        if (idAt(index) != kept)
            others << idAt(index);
    }
    for (const QUuid &id : others) {
        co_await m_state.closing().close(id);
        if (!self || m_state.documents().file(id)) // the question was canceled
            co_return;
    }
}

void EditorTabStrip::contextMenuEvent(QContextMenuEvent *event)
{
    const bool isKey = event->reason() == QContextMenuEvent::Keyboard;
    const int index = isKey ? currentIndex() : tabAt(event->pos());
    const EditorFile *file = m_state.documents().file(idAt(index));
    if (!file)
        return;
    const QUuid id = file->id();
    const QString path = file->place().path;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("&Close"), this, [this, id] { close(indexOf(id)); });
    menu->addAction(tr("Close &Others"), this, [this, id] { closeOthers(id); })
        ->setEnabled(count() > 1);
    menu->addAction(tr("Copy &Path"), this, [path] { QGuiApplication::clipboard()->setText(path); })
        ->setEnabled(!path.isEmpty());
    menu->popup(isKey ? mapToGlobal(tabRect(index).center()) : event->globalPos());
}

void EditorTabStrip::mouseMoveEvent(QMouseEvent *event)
{
    // QTabBar would draw the dragged tab in the style's way.
    if (!(event->buttons() & Qt::LeftButton) || m_dragged.isNull())
        return QTabBar::mouseMoveEvent(event);
    const QPoint position = event->position().toPoint();
    if (!m_isDragging
        && (position - m_pressed).manhattanLength() < QApplication::startDragDistance())
        return;
    m_isDragging = true;
    const int from = indexOf(m_dragged);
    const int to = tabAt(QPoint(position.x(), height() / 2));
    if (from < 0 || to < 0 || to == from)
        return;
    // Over the far half of the other tab, so that it does not move back at the next event.
    const int middle = tabRect(to).center().x();
    if (to > from ? position.x() > middle : position.x() < middle)
        m_state.documents().moveFile(m_dragged, to);
}

int EditorTabStrip::indexOf(const QUuid &id) const
{
    for (int index = 0; index < count(); ++index) {
        if (idAt(index) == id)
            return index;
    }
    return -1;
}

void EditorTabStrip::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::MiddleButton)
        m_middlePressed = tabAt(event->position().toPoint());
    else
        QTabBar::mousePressEvent(event);
    m_isDragging = false;
    m_pressed = event->position().toPoint();
    m_dragged = event->button() == Qt::LeftButton ? idAt(tabAt(m_pressed)) : QUuid();
}

void EditorTabStrip::mouseReleaseEvent(QMouseEvent *event)
{
    m_dragged = {};
    if (event->button() != Qt::MiddleButton) {
        QTabBar::mouseReleaseEvent(event);
        if (event->button() == Qt::LeftButton)
            revealSelected(); // the click may have been on a tab that is partly hidden
        return;
    }
    const int pressed = std::exchange(m_middlePressed, -1);
    if (pressed >= 0 && tabAt(event->position().toPoint()) == pressed)
        close(pressed);
}

void EditorTabStrip::wheelEvent(QWheelEvent *event)
{
    event->accept();
    // QTabBar would select another tab at each notch; this scrolls the strip.
    const QPoint turned = event->angleDelta();
    m_turned += std::abs(turned.x()) > std::abs(turned.y()) ? turned.x() : turned.y();
    for (; std::abs(m_turned) >= QWheelEvent::DefaultDeltasPerStep; m_turned -=
         m_turned > 0 ? QWheelEvent::DefaultDeltasPerStep : -QWheelEvent::DefaultDeltasPerStep) {
        auto *arrow = findChild<QToolButton *>(m_turned > 0 ? QStringLiteral("ScrollLeftButton")
                                                            : QStringLiteral("ScrollRightButton"));
        if (arrow && arrow->isVisible())
            arrow->click();
    }
}

QSize EditorTabStrip::tabSizeHint(int index) const
{
    const EditorFile *file = m_state.documents().file(idAt(index));
    const QString name = file ? VisibleText::line(file->name()) : QString();
    const int nameWidth = std::min(fontMetrics().horizontalAdvance(name) + 1, widestName);
    return {padding + symbolSize + spacing + nameWidth + spacing + endSize + padding + gap,
            stripHeight};
}

QSize EditorTabStrip::minimumTabSizeHint(int index) const
{
    return tabSizeHint(index);
}

void EditorTabStrip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const Theme &theme = Theme::of(palette());
    for (int index = 0; index < count(); ++index) {
        const QRect tab = tabRect(index).adjusted(0, 0, -gap, 0);
        if (!tab.intersects(rect()))
            continue;
        const bool isSelected = index == currentIndex();
        const QColor color =
            theme.color(isSelected ? Theme::Role::Accent : Theme::Role::SecondaryLabel);
        if (isSelected) {
            painter.fillRect(tab, theme.color(Theme::Role::TextBackground));
            painter.fillRect(tab.adjusted(0, tab.height() - lineHeight, 0, 0), color);
        }
        const QPoint icon(tab.left() + padding, tab.center().y() - symbolSize / 2);
        painter.drawPixmap(
            icon,
            Icons::pixmap(QStringLiteral("doc.plaintext"), symbolSize, devicePixelRatioF(), color));
        const QRect nameRect =
            tab.adjusted(padding + symbolSize + spacing, 0, -padding - endSize - spacing, 0);
        const EditorFile *file = m_state.documents().file(idAt(index));
        const QString name = file ? VisibleText::line(file->name()) : QString();
        painter.setPen(color);
        painter.drawText(nameRect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         fontMetrics().elidedText(name, Qt::ElideMiddle, nameRect.width()));
        if (isSelected && hasFocus()) {
            QStyleOptionFocusRect focus;
            focus.initFrom(this);
            focus.rect = tab.adjusted(2, 3, -2, -3);
            style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
        }
    }
}

} // namespace Korvane
