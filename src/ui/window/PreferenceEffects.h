#pragma once

#include <QObject>

namespace Korvane {

class ContentView;
class Preferences;
class TextZoom;

/// Applies the user's preferences to the views of the window, and each change at once.
class PreferenceEffects final : public QObject
{
    Q_OBJECT

public:
    /// Child of \p window. \p preferences must outlive it.
    PreferenceEffects(Preferences &preferences, ContentView &window);

private:
    void setEditorAids();
    void setEditorFont();
    void setShellFont();

    Preferences &m_preferences;
    ContentView &m_window;
    TextZoom *m_zoom; // of the window
};

} // namespace Korvane
