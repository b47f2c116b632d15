#pragma once

#include <QWidget>

class QLabel;
class QToolButton;

namespace Korvane {

class AppState;
class DebugSession;
class ElidedLabel;
class ProgressIndicator;
class SymbolView;

/// Where the debugged program stands, and what can be told to it; on the screen only while one is
/// debugged. Its keys work only then.
class DebugBar final : public QWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit DebugBar(AppState &state, QWidget *parent = nullptr);

signals:
    /// The bar went from the screen while one of its buttons had the focus.
    void wentWithFocus();

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QToolButton *makeButton(const QString &symbol, const QString &name, const QString &help,
                            const QKeySequence &keys, void (DebugSession::*operation)());
    void showState();

    AppState &m_state;
    ProgressIndicator *m_progress;
    SymbolView *m_pauseSymbol;
    QLabel *m_status;
    ElidedLabel *m_hint; // gives way where there is little room
};

} // namespace Korvane
