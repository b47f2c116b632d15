#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "base/Records.h"

#include <QObject>

namespace Korvane {

class DeviceLink;
class ProgramRun;
class PythonRunner;

/// The Variables table: the global variables of the board when one is connected, otherwise of the
/// local session. The end of a local run and restartLocalSession() show the variables of the local
/// session also while a board is connected. The table is always replaced as a whole, and cleared
/// when a board is connected or disconnected.
class VariablesStore final : public QObject
{
    Q_OBJECT

public:
    /// All three are borrowed and must outlive this.
    VariablesStore(PythonRunner &runner, DeviceLink &link, const ProgramRun &programRun,
                   QObject *parent = nullptr);

    [[nodiscard]] const QList<PythonVariable> &variables() const { return m_variables; }
    /// Replaces the rows and emits variablesChanged(), also when they are the same.
    void setVariables(const QList<PythonVariable> &variables);

    /// Reads the variables of that interpreter. While the board is busy the table is not changed,
    /// without an error.
    [[nodiscard]] Async<void> refreshVariables();
    /// Replaces the local session by a fresh one, also while a board is connected. Fails when there
    /// is no interpreter.
    [[nodiscard]] Async<void> restartLocalSession();

signals:
    void variablesChanged();

private:
    [[nodiscard]] Async<void> refreshFromSession();
    [[nodiscard]] Async<void> refreshFromBoard();

    PythonRunner &m_runner;
    DeviceLink &m_link;
    const ProgramRun &m_programRun;
    QList<PythonVariable> m_variables;
    Lifetime m_life;
};

} // namespace Korvane
