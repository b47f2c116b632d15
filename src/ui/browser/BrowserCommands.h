#pragma once

#include <QObject>

namespace Korvane {

class Actions;
class AppState;
class BrowserPane;

/// The commands of the file browsers: they act in the one that is shown, and are enabled when they
/// apply there.
class BrowserCommands final : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this.
    BrowserCommands(AppState &state, Actions &actions, BrowserPane &local, BrowserPane &device,
                    QObject *parent);

private:
    [[nodiscard]] BrowserPane &shown() const;
    void follow();

    AppState &m_state;
    Actions &m_actions;
    BrowserPane &m_local;
    BrowserPane &m_device;
};

} // namespace Korvane
