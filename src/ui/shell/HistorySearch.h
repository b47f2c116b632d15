#pragma once

#include <QFrame>

class QLineEdit;
class QListWidget;

namespace Korvane {

class InputHistory;

/// Finds an earlier command of the Shell: a field for a part of it, and below it the commands that
/// contain that, the newest first. Up, Down and Ctrl+R choose among them.
class HistorySearch final : public QFrame
{
    Q_OBJECT

public:
    /// \p history must outlive this.
    HistorySearch(const InputHistory &history, QWidget *parent);

    /// Starts with \p text to look for, at the lower edge of the parent's first \p bottom pixels.
    void open(const QString &text, int bottom);

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void chosen(const QString &command);
    /// Escape was pressed, or nothing was there to be chosen.
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
