#pragma once

#include "base/Background.h"

#include <QCoro/QCoroTask>
#include <QWidget>

class QComboBox;
class QLabel;

namespace Korvane {

class AppState;

/// Chooses the Python of local runs: the path of an interpreter or of a virtual environment, or
/// nothing, in which case the program looks for one. A path without a Python is not stored, and a
/// message appears below the field.
class InterpreterField final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit InterpreterField(AppState &state, QWidget *parent = nullptr);

private:
    QCoro::Task<void> listFound();
    void showChosen();
    void showAutomatic();
    /// Stores \p path when a Python is there, unless the field is edited meanwhile.
    QCoro::Task<void> choose(QString path);
    void browse();

    AppState &m_state;
    QComboBox *m_path;
    QLabel *m_problem;
    // A folder may be on a network that does not answer. Nothing has to be completed at the end.
    Background m_background{4, std::chrono::milliseconds(0)};
};

} // namespace Korvane
