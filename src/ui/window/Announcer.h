#pragma once

#include <QWidget>

namespace Korvane {

class AppState;

/// Reports to assistive programs what happens outside of the focused control: the board is
/// connected or disconnected, the program stops at a line or finishes. It paints nothing; these
/// events are also shown in the window.
///
/// Its accessible role is Notification. For each text it sends the events of being hidden and shown
/// again, at which screen readers read a notification.
class Announcer final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    Announcer(AppState &state, QWidget *parent);

private:
    void announce(const QString &text);
    void announceConnection();
    void announcePause();
    void announceEndOfRun();

    AppState &m_state;
    bool m_wasConnected = false;
    bool m_wasPaused = false;
    bool m_isLocalRun = false;
};

} // namespace Korvane
