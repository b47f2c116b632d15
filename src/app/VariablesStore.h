#pragma once

#include "base/Lifetime.h"
#include "base/Records.h"

#include <QCoro/QCoroTask>
#include <QObject>

namespace Korvane {

class DeviceLink;
class ProgramRun;
class PythonRunner;
class ShellSink;

/// The Variables table: what the interpreter in charge holds, the board's when one is connected,
/// otherwise the local session's. It is always replaced whole.
class VariablesStore final : public QObject
{
    Q_OBJECT

public:
    /// All four are borrowed and must outlive this.
    VariablesStore(PythonRunner &runner, DeviceLink &link, const ProgramRun &programRun,
                   ShellSink &shell, QObject *parent = nullptr);

    [[nodiscard]] const QList<PythonVariable> &variables() const { return m_variables; }
    void setVariables(const QList<PythonVariable> &variables);

    /// Asks the interpreter in charge. While the board is busy the table stays as it is and
    /// nothing is said; a failure of the board is an error line. The task may be dropped: it ends
    /// by itself, at the latest when this goes.
    QCoro::Task<void> refreshVariables();
    /// Replaces the local session by a fresh one, also while a board is connected. May be dropped
    /// likewise.
    QCoro::Task<void> restartLocalSession();

signals:
    void variablesChanged();

private:
    QCoro::Task<void> refreshFromSession();
    QCoro::Task<void> refreshFromBoard();

    PythonRunner &m_runner;
    DeviceLink &m_link;
    const ProgramRun &m_programRun;
    ShellSink &m_shell;
    QList<PythonVariable> m_variables;
    Lifetime m_life;
};

} // namespace Korvane
