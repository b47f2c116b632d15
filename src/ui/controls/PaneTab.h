#pragma once

#include "theme/Theme.h"

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
    /// Marks the tab with a dot of \p color, and with \p description for assistive programs. Empty
    /// removes the mark.
    void setMark(const QString &description, Theme::Role color = Theme::Role::Accent);
    [[nodiscard]] bool hasMark() const { return !accessibleDescription().isEmpty(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool m_isSemiboldWhenChecked = false;
    Theme::Role m_markColor = Theme::Role::Accent;
};

} // namespace Korvane
