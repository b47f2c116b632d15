#pragma once

#include "theme/Theme.h"

#include <QIcon>
#include <QWidget>

namespace Korvane {

/// Shows a symbol beside a text with the same meaning; assistive programs ignore it.
class SymbolView final : public QWidget
{
    Q_OBJECT

public:
    /// \p size is in device-independent pixels.
    SymbolView(const QString &symbol, Theme::Role role, int size, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QIcon m_icon;
};

} // namespace Korvane
