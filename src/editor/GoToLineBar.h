#pragma once

#include "editor/EditorBar.h"

class QLabel;

namespace Korvane {

/// Asks for the number of a line.
class GoToLineBar final : public EditorBar
{
    Q_OBJECT

public:
    explicit GoToLineBar(QWidget *parent);

    /// Enters \p line into the field, and shows \p lineCount beside it.
    void setLine(int line, int lineCount);

signals:
    void lineChosen(int line);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    QLabel *m_range;
};

} // namespace Korvane
