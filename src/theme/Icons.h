#pragma once

#include "theme/Theme.h"

#include <QIcon>
#include <QPixmap>

namespace Korvane::Icons {

/// The program's own icon for a symbol such as u"play.circle.fill", in the color of \p role.
///
/// It is drawn when it is painted, in the size and at the scale of the screen it is painted on and
/// with the theme then in force: it needs no renewal when one of them changes.
[[nodiscard]] QIcon icon(const QString &symbol, Theme::Role role = Theme::Role::Label);

/// The same as a picture of \p size × \p size points for a screen of that scale.
[[nodiscard]] QPixmap pixmap(const QString &symbol, int size, qreal scale, const QColor &color);

} // namespace Korvane::Icons
