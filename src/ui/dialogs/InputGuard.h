#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QWidget>

#include <chrono>

class QDialog;
class QPushButton;

namespace Korvane {

/// Drops clicks and keys for a dialog until the given time after it is first painted, and again
/// after its minimized window is restored. Input that was meant for the window below it arrives
/// within this time, also when the main thread was busy. The buttons are disabled meanwhile.
/// Text can be typed into a line edit that has the focus, so that a name can be typed at once.
class InputGuard final : public QObject
{
    Q_OBJECT

public:
    /// \p dialog, not yet shown, becomes the parent. \p time must be positive.
    InputGuard(QDialog &dialog, std::chrono::milliseconds time);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    enum class State { Waiting, Painted, Open };

    void begin();
    void end();
    [[nodiscard]] bool isOfDialog(const QObject *watched) const;
    [[nodiscard]] bool isTyping(const QEvent &event) const;

    QDialog &m_dialog;
    const std::chrono::milliseconds m_time;
    State m_state = State::Open;
    int m_round = 0; // counts the calls of begin
    QList<QPointer<QPushButton>> m_disabled;
    QPointer<QWidget> m_focused;
};

} // namespace Korvane
