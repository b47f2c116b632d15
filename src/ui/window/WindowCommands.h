#pragma once

#include <QObject>

class QMainWindow;

namespace Korvane {

class Actions;
class AppState;
class CodeEditorView;
class CommandPalette;
class FindInFilesDialog;
class TextZoom;

/// Find in Files, the list of all commands, and zooming. Dialogs are made when they are first
/// opened.
class WindowCommands final : public QObject
{
    Q_OBJECT

public:
    /// Child of \p window. All must outlive this.
    WindowCommands(AppState &state, const Actions &actions, CodeEditorView &editor,
                   QMainWindow &window);

    /// Zooms for a turn of the wheel over a text while Ctrl is held. \p angle is in eighths of a
    /// degree; parts of a step are added up.
    void turnWheel(int angle);

private:
    void findInFiles();
    void showCommands();

    AppState &m_state;
    CodeEditorView &m_editor;
    QMainWindow &m_window;
    TextZoom *m_zoom; // a child of the window
    FindInFilesDialog *m_findInFiles = nullptr;
    CommandPalette *m_palette = nullptr;
    int m_turned = 0; // part of a wheel notch
};

} // namespace Korvane
