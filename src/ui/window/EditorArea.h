#pragma once

#include <QWidget>

class QStackedWidget;

namespace Korvane {

class Actions;
class AppState;
class CodeEditorView;
class DebugBar;
class EditorTabStrip;

/// The upper part of the window: the tabs of the open documents and the editor on the selected one.
class EditorArea final : public QWidget
{
    Q_OBJECT

public:
    /// \p state and \p actions must outlive this.
    EditorArea(AppState &state, const Actions &actions, QWidget *parent = nullptr);

    [[nodiscard]] CodeEditorView &editor() { return *m_editor; }
    [[nodiscard]] EditorTabStrip &tabs() { return *m_tabs; }

private:
    void showSelected();

    AppState &m_state;
    EditorTabStrip *m_tabs;
    DebugBar *m_debugBar;
    QStackedWidget *m_body;
    CodeEditorView *m_editor;
    QWidget *m_noFile;
};

} // namespace Korvane
