#pragma once

#include <QObject>

namespace Korvane {

class Actions;
class BrowserPane;

/// The commands of the file browsers. They act on the browser that is shown, and are enabled when
/// they apply there.
class BrowserCommands final : public QObject
{
    Q_OBJECT

public:
    /// Both must outlive this. Gives \p local, the browser of the local files, its menus; the
    /// commands act in it until setShown() is called.
    BrowserCommands(Actions &actions, BrowserPane &local, QObject *parent);

    /// Gives the browser of the board's files its menus.
    void addDevice(BrowserPane &pane);
    /// The commands act in \p pane from now on, which must have been added and outlive this.
    void setShown(BrowserPane &pane);

signals:
    /// The browser must be visible for a command that was chosen.
    void paneNeeded();

private:
    void add(BrowserPane &pane, bool isLocal);
    void updateActions();

    Actions &m_actions;
    BrowserPane *m_shown;
};

} // namespace Korvane
