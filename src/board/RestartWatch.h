#pragma once

#include <QString>
#include <QStringView>

namespace Korvane {

/// Finds in a board's text the signs of a restart: the line that announces a soft reset, or the
/// banner and a prompt.
class RestartWatch final
{
public:
    /// True when \p text completes one of the signs. The time is linear in the length of \p text.
    [[nodiscard]] bool feed(QStringView text);
    void clear();

private:
    /// Takes the complete line in `m_line`. True when it announces a soft reset.
    [[nodiscard]] bool takeLine();

    QString m_line; // its beginning
    int m_bannerLines = 0;
};

} // namespace Korvane
