#pragma once

#include "base/Lifetime.h"
#include "theme/Theme.h"

#include <QCoro/QCoroTask>
#include <QToolBar>

namespace Korvane {

class AppState;
class DeviceConnectButton;

/// The window's toolbar. A key that is given to one of its actions works only while that action's
/// button is shown.
class IDEToolbar final : public QToolBar
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit IDEToolbar(AppState &state, QWidget *parent = nullptr);

private:
    enum class Label { Hidden, Shown };

    QAction *addCommand(const QString &symbol, Theme::Role role, const QString &name,
                        const QString &help, Label label);
    void addFileCommands();
    void addSpace();
    QCoro::Task<void> openFile();
    void showRunning();
    void showConnection();

    AppState &m_state;
    QAction *m_run;
    QAction *m_stop;
    QAction *m_debug;
    Lifetime m_life;
};

} // namespace Korvane
