#include "ui/controls/SymbolView.h"

#include "theme/Icons.h"

#include <QPainter>

namespace Korvane {

SymbolView::SymbolView(const QString &symbol, Theme::Role role, int size, QWidget *parent)
    : QWidget(parent)
    , m_icon(Icons::icon(symbol, role))
{
    setFixedSize(size, size);
}

void SymbolView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    m_icon.paint(&painter, rect());
}

} // namespace Korvane
