#pragma once

#include "editor/EditorBar.h"
#include "editor/TextSearch.h"

class QLabel;
class QToolButton;

namespace Korvane {

/// What to find, and how much of it was found. Return and Shift+Return in it ask for the next and
/// the previous place.
class FindBar final : public EditorBar
{
    Q_OBJECT

public:
    explicit FindBar(QWidget *parent);

    [[nodiscard]] TextSearch search() const;
    void setQuery(const QString &query);
    /// \p current counts from 1 and is 0 when none of those found is selected.
    void showCount(qsizetype current, qsizetype total);

signals:
    void searchChanged();
    void nextRequested();
    void previousRequested();

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QLabel *m_count;
    QToolButton *m_matchCase;
    QToolButton *m_wholeWords;
};

} // namespace Korvane
