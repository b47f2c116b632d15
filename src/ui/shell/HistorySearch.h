#pragma once

#include <QFrame>

class QLineEdit;
class QListWidget;

namespace Korvane {

class InputHistory;

/// Finds an earlier command of the Shell: a field for a part of it, and below it the commands that
/// contain that, the newest first. Up, Down and Ctrl+R select one of them. When another widget of
/// the window gets the focus, this is hidden without a signal.
class HistorySearch final : public QFrame
{
    Q_OBJECT

public:
    /// \p history must outlive this.
    HistorySearch(const InputHistory &history, QWidget *parent);

    /// Searches for \p text. The lower edge is \p bottom pixels below the upper edge of the parent.
    void open(const QString &text, int bottom);

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void chosen(const QString &command);
    /// Escape was pressed, or Return while no command matched.
    void canceled();

private:
    void showMatches();
    void step(int rows);
    void choose();

    const InputHistory &m_history;
    QLineEdit *m_text;
    QListWidget *m_matches;
};

} // namespace Korvane
