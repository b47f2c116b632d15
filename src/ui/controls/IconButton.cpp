#include "ui/controls/IconButton.h"

#include "theme/Icons.h"
#include "ui/controls/KeyText.h"

namespace Korvane {

IconButton::IconButton(const QString &symbol, Theme::Role role, const QString &help,
                       QWidget *parent)
    : QToolButton(parent)
{
    setIcon(Icons::icon(symbol, role));
    setIconSize(QSize(16, 16));
    setToolTip(KeyText::rendered(help));
    setAccessibleName(KeyText::withoutKey(help));
    setAutoRaise(true);
    setFocusPolicy(Qt::TabFocus);
}

} // namespace Korvane
