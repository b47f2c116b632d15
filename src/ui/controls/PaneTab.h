#pragma once

#include <QToolButton>

namespace Korvane {

/// One of several buttons that select what a pane shows: exactly one of them is checked.
class PaneTab final : public QToolButton
{
    Q_OBJECT

public:
    explicit PaneTab(const QString &title, QWidget *parent = nullptr);

    /// Paints the text in semibold while the tab is checked. The tab keeps its width.
    void setSemiboldWhenChecked();
    /// Marks the tab with a red dot, and with \p description for assistive programs. Empty removes
    /// the mark.
    void setMark(const QString &description);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool m_isSemiboldWhenChecked = false;
};

} // namespace Korvane
