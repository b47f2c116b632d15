#include "ui/window/TextZoom.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

constexpr int stepPercent = 10;

} // namespace

void TextZoom::setPercent(int percent)
{
    const int allowed = std::clamp(percent, smallest, largest);
    if (std::exchange(m_percent, allowed) != allowed)
        emit changed();
}

void TextZoom::step(int steps)
{
    setPercent(m_percent + steps * stepPercent);
}

QFont TextZoom::zoomed(QFont font) const
{
    if (font.pixelSize() > 0)
        font.setPixelSize(std::max(1, qRound(font.pixelSize() * m_percent / 100.0)));
    else
        font.setPointSizeF(font.pointSizeF() * m_percent / 100.0);
    return font;
}

} // namespace Korvane
