#pragma once

#include "theme/Theme.h"

#include <QIcon>
#include <QPixmap>

namespace Korvane::Icons {

/// The program's own icon for a symbol such as u"play.circle.fill", in the color of \p role.
///
/// It is drawn when it is painted, for the size, the scale of the screen and the theme at that
/// time, so it need not be replaced when one of them changes.
[[nodiscard]] QIcon icon(const QString &symbol, Theme::Role role = Theme::Role::Label);

/// The symbol in \p color as a pixmap of \p size × \p size device-independent pixels for a screen
/// with the device pixel ratio \p scale. Main thread only.
[[nodiscard]] QPixmap pixmap(const QString &symbol, int size, qreal scale, const QColor &color);

} // namespace Korvane::Icons
