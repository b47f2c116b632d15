#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace Korvane {

/// A spinner for an operation of unknown length. It is animated while it is visible, unless the
/// style has no animations.
class ProgressIndicator final : public QWidget
{
    Q_OBJECT

public:
    /// \p size is in device-independent pixels.
    explicit ProgressIndicator(int size, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void timerEvent(QTimerEvent *event) override;

private:
    QBasicTimer m_timer;
    int m_step = 0;
};

} // namespace Korvane
