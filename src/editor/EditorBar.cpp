#include "editor/EditorBar.h"

#include "theme/Theme.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

namespace Korvane {

EditorBar::EditorBar(const QString &name, QWidget *parent)
    : QWidget(parent)
    , m_rows(new QVBoxLayout(this))
    , m_controls(new QHBoxLayout)
    , m_field(new QLineEdit)
{
    hide();
    setAccessibleName(name);
    // Otherwise a click beside the field would be passed on to the text below.
    setAttribute(Qt::WA_NoMousePropagation);
    setFocusPolicy(Qt::ClickFocus);
    setFocusProxy(m_field);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);
    setFont(QGuiApplication::font()); // not the code's

    m_rows->setContentsMargins(8, 4, 6, 5);
    m_rows->setSpacing(4);
    auto *row = new QHBoxLayout;
    row->setSpacing(4);
    m_rows->addLayout(row);
    m_controls->setSpacing(4);
    row->addLayout(m_controls, 1);
    QToolButton *close = makeButton(QStringLiteral("×"), tr("Close “%1” (Esc)").arg(name));
    close->setObjectName(QStringLiteral("closeBar"));
    row->addWidget(close);
    connect(close, &QToolButton::clicked, this, &EditorBar::closeRequested);
}

void EditorBar::takeFocus()
{
    m_field->setFocus(Qt::ShortcutFocusReason);
    m_field->selectAll();
}

int EditorBar::fitTo(int)
{
    return sizeHint().height();
}

QToolButton *EditorBar::makeButton(const QString &text, const QString &toolTip)
{
    auto *button = new QToolButton(this);
    button->setText(text);
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setAutoRaise(true);
    button->setCursor(Qt::ArrowCursor);
    return button;
}

bool EditorBar::focusNextPrevChild(bool next)
{
    const QWidget *start = focusWidget();
    QWidget *widget = focusWidget();
    while (widget) {
        widget = next ? widget->nextInFocusChain() : widget->previousInFocusChain();
        if (widget == start)
            break;
        const bool takesFocus = (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus;
        if (takesFocus && isAncestorOf(widget) && widget->isVisible()) {
            widget->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            break;
        }
    }
    return true;
}

void EditorBar::showEvent(QShowEvent *event)
{
    // The bar is made after the rest of the window, and would be last in the Tab order.
    setTabOrder(parentWidget(), m_field);
    QWidget *previous = m_field;
    for (QToolButton *button : findChildren<QToolButton *>()) {
        setTabOrder(previous, button);
        previous = button;
    }
    QWidget::showEvent(event);
}

void EditorBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        emit closeRequested();
    else
        event->accept(); // not passed on to the editor
}

void EditorBar::paintEvent(QPaintEvent *event)
{
    QWidget::paintEvent(event);
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1,
                     Theme::of(palette()).color(Theme::Role::Separator));
}

} // namespace Korvane
