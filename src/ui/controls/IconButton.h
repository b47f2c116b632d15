#pragma once

#include "theme/Theme.h"

#include <QToolButton>

namespace Korvane {

/// A plain button that shows a symbol and nothing else. Its help text, without the key, is its
/// accessible name.
class IconButton final : public QToolButton
{
    Q_OBJECT

public:
    IconButton(const QString &symbol, Theme::Role role, const QString &help,
               QWidget *parent = nullptr);
};

} // namespace Korvane
