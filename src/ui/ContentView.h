#pragma once

#include <QMainWindow>

namespace Korvane {

class AppState;
class BottomPane;
class EditorArea;
class IDEToolbar;

/// The main window. It has no title of its own, so that the desktop lists it under the program's
/// name.
class ContentView final : public QMainWindow
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit ContentView(AppState &state, QWidget *parent = nullptr);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] bool isOwnShortcut(const QKeySequence &keys) const;

    IDEToolbar *m_toolbar;
    EditorArea *m_editorArea;
    BottomPane *m_bottomPane;
};

} // namespace Korvane
