#pragma once

#include <QToolButton>

namespace Korvane {

/// One of several buttons that choose what a pane shows: exactly one of them is down.
class PaneTab final : public QToolButton
{
    Q_OBJECT

public:
    explicit PaneTab(const QString &title, QWidget *parent = nullptr)
        : QToolButton(parent)
    {
        setText(title);
        setCheckable(true);
        setAutoExclusive(true);
        setAutoRaise(true);
        setFocusPolicy(Qt::TabFocus);
    }
};

} // namespace Korvane
