#include "ui/window/WindowCommands.h"

#include "ui/window/Actions.h"
#include "ui/window/CommandPalette.h"
#include "ui/window/FindInFilesDialog.h"
#include "ui/window/TextZoom.h"

#include <QAction>
#include <QMainWindow>
#include <QWheelEvent>

namespace Korvane {

WindowCommands::WindowCommands(AppState &state, const Actions &actions, CodeEditorView &editor,
                               QMainWindow &window)
    : QObject(&window)
    , m_state(state)
    , m_editor(editor)
    , m_window(window)
    , m_zoom(new TextZoom(&window))
{
    connect(actions[Actions::FindInFiles], &QAction::triggered, this, &WindowCommands::findInFiles);
    connect(actions[Actions::ShowCommands], &QAction::triggered, this,
            &WindowCommands::showCommands);
    connect(actions[Actions::ZoomIn], &QAction::triggered, m_zoom, [this] { m_zoom->step(1); });
    connect(actions[Actions::ZoomOut], &QAction::triggered, m_zoom, [this] { m_zoom->step(-1); });
    connect(actions[Actions::ResetZoom], &QAction::triggered, m_zoom,
            [this] { m_zoom->setPercent(TextZoom::standard); });
}

void WindowCommands::turnWheel(int angle)
{
    m_turned += angle;
    const int steps = m_turned / QWheelEvent::DefaultDeltasPerStep;
    m_turned -= steps * QWheelEvent::DefaultDeltasPerStep;
    m_zoom->step(steps);
}

void WindowCommands::findInFiles()
{
    if (!m_findInFiles)
        m_findInFiles = new FindInFilesDialog(m_state, m_editor, &m_window);
    m_findInFiles->open();
}

void WindowCommands::showCommands()
{
    if (!m_palette)
        m_palette = new CommandPalette(m_window);
    m_palette->open();
}

} // namespace Korvane
