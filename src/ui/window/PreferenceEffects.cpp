#include "ui/window/PreferenceEffects.h"

#include "app/Preferences.h"
#include "editor/CodeEditorView.h"
#include "theme/Theme.h"
#include "ui/shell/ShellInput.h"
#include "ui/shell/TranscriptView.h"
#include "ui/window/ContentView.h"
#include "ui/window/TextZoom.h"

namespace Korvane {

PreferenceEffects::PreferenceEffects(Preferences &preferences, ContentView &window)
    : QObject(&window)
    , m_preferences(preferences)
    , m_window(window)
    , m_zoom(window.findChild<TextZoom *>())
{
    // The views are made with the defaults.
    for (const auto id : {Preferences::EditorFont, Preferences::EditorFontSize}) {
        if (!preferences.isDefault(id))
            setEditorFont();
        preferences.whenChanged(id, this, [this] { setEditorFont(); });
    }
    for (const auto id : {Preferences::ShellFont, Preferences::ShellFontSize}) {
        if (!preferences.isDefault(id))
            setShellFont();
        preferences.whenChanged(id, this, [this] { setShellFont(); });
    }
    connect(m_zoom, &TextZoom::changed, this, [this] {
        setEditorFont();
        setShellFont();
    });
    for (const auto id :
         {Preferences::IndentWidth, Preferences::LineLengthMark, Preferences::ShowBlanks}) {
        if (!preferences.isDefault(id))
            setEditorAids();
        preferences.whenChanged(id, this, [this] { setEditorAids(); });
    }
}

void PreferenceEffects::setEditorAids()
{
    auto *editor = m_window.findChild<CodeEditorView *>();
    editor->setIndentWidth(m_preferences.number(Preferences::IndentWidth));
    editor->setLineLengthMark(m_preferences.number(Preferences::LineLengthMark));
    editor->setBlanksShown(m_preferences.flag(Preferences::ShowBlanks));
}

void PreferenceEffects::setEditorFont()
{
    m_window.findChild<CodeEditorView *>()->setFont(
        m_zoom->applied(Theme::monospacedFont(m_preferences.text(Preferences::EditorFont),
                                              m_preferences.number(Preferences::EditorFontSize))));
}

void PreferenceEffects::setShellFont()
{
    const QFont font =
        m_zoom->applied(Theme::monospacedFont(m_preferences.text(Preferences::ShellFont),
                                              m_preferences.number(Preferences::ShellFontSize)));
    m_window.findChild<TranscriptView *>()->setFont(font);
    m_window.findChild<ShellInput *>()->setFont(font);
}

} // namespace Korvane
