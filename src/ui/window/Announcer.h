#pragma once

#include <QWidget>

namespace Korvane {

class AppState;

/// Tells assistive programs what happened outside of the focused control: that the board is
/// connected or disconnected, that the program stopped at a line or finished. It is invisible;
/// these events are also shown in the window.
///
/// Its accessible role is a notification, which appears again with each text.
class Announcer final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    Announcer(AppState &state, QWidget *parent);

private:
    void say(const QString &text);
    void sayConnection();
    void sayPause();
    void sayEndOfRun(bool isRunning);

    AppState &m_state;
    bool m_wasConnected = false;
    bool m_wasPaused = false;
};

} // namespace Korvane
