#pragma once

#include <QObject>

namespace Korvane {

class Actions;
class BrowserPane;

/// The commands of the file browsers: they act in the one that is shown, and are enabled when they
/// apply there.
class BrowserCommands final : public QObject
{
    Q_OBJECT

public:
    /// \p actions must outlive this. The commands do nothing until setShown() is called.
    BrowserCommands(Actions &actions, QObject *parent);

    /// Gives the browser of the local files its menus.
    void addLocal(BrowserPane &pane);
    /// Gives the browser of the board's files its menus.
    void addDevice(BrowserPane &pane);
    /// The commands act in \p pane from now on, which must have been added and outlive this.
    void setShown(BrowserPane &pane);

private:
    void add(BrowserPane &pane, bool isLocal);
    void follow();

    Actions &m_actions;
    BrowserPane *m_shown = nullptr;
};

} // namespace Korvane
