#pragma once

#include <QStackedWidget>

namespace Korvane {

class AppState;
class CodeEditorView;

/// The upper part of the window: the editor on the selected document.
class EditorArea final : public QStackedWidget
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit EditorArea(AppState &state, QWidget *parent = nullptr);

    [[nodiscard]] CodeEditorView &editor() { return *m_editor; }

private:
    void showSelected();
    void showContent();

    AppState &m_state;
    CodeEditorView *m_editor;
    QWidget *m_noFile;
    bool m_isTakingEdit = false;
};

} // namespace Korvane
