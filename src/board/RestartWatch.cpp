#include "board/RestartWatch.h"

#include <algorithm>
#include <utility>

namespace Korvane {

namespace {

constexpr QStringView bannerStart = u"MicroPython ";
constexpr QStringView softReset = u"MPY: soft reboot";
constexpr QStringView helpLine = u"Type \"help()\" for more information.";
constexpr QStringView friendlyPrompt = u">>> ";
constexpr qsizetype keptOfLine = 256;

} // namespace

bool RestartWatch::feed(QStringView text)
{
    bool isRestart = false;
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf(u'\n');
        const QStringView part = end < 0 ? text : text.first(end);
        m_line += part.first(std::min(part.size(), keptOfLine - m_line.size()));
        if (end < 0)
            return isRestart || (m_bannerLines == 2 && m_line == friendlyPrompt);
        isRestart |= takeLine();
        text = text.sliced(end + 1);
    }
    return isRestart;
}

bool RestartWatch::takeLine()
{
    if (m_line.endsWith(u'\r'))
        m_line.chop(1);
    if (m_line.startsWith(bannerStart) && m_line.contains(u"; "))
        m_bannerLines = 1;
    else
        m_bannerLines = m_bannerLines == 1 && m_line == helpLine ? 2 : 0;
    return std::exchange(m_line, {}) == softReset;
}

void RestartWatch::clear()
{
    *this = {};
}

} // namespace Korvane
