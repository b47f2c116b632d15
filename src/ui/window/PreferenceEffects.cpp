#include "ui/window/PreferenceEffects.h"

#include "app/Preferences.h"
#include "editor/CodeEditorView.h"
#include "theme/Theme.h"
#include "ui/shell/ShellInput.h"
#include "ui/shell/TranscriptView.h"
#include "ui/window/ContentView.h"
#include "ui/window/TextZoom.h"

#include <algorithm>
#include <initializer_list>

namespace Korvane {

PreferenceEffects::PreferenceEffects(Preferences &preferences, ContentView &window)
    : QObject(&window)
    , m_preferences(preferences)
    , m_window(window)
    , m_zoom(window.findChild<TextZoom *>())
{
    const auto apply = [&](std::initializer_list<Preferences::Id> ids,
                           void (PreferenceEffects::*set)()) {
        // The views are made with the defaults.
        if (!std::all_of(ids.begin(), ids.end(),
                         [&](auto id) { return preferences.isDefault(id); }))
            (this->*set)();
        for (const Preferences::Id id : ids)
            preferences.whenChanged(id, this, [this, set] { (this->*set)(); });
    };
    apply({Preferences::EditorFont, Preferences::EditorFontSize},
          &PreferenceEffects::setEditorFont);
    apply({Preferences::ShellFont, Preferences::ShellFontSize}, &PreferenceEffects::setShellFont);
    apply({Preferences::IndentWidth, Preferences::LineLengthMark, Preferences::ShowBlanks},
          &PreferenceEffects::setEditorAids);
    connect(m_zoom, &TextZoom::changed, this, [this] {
        setEditorFont();
        setShellFont();
    });
}

void PreferenceEffects::setEditorAids()
{
    auto *editor = m_window.findChild<CodeEditorView *>();
    editor->setIndentWidth(m_preferences.number(Preferences::IndentWidth));
    editor->setLineLengthMark(m_preferences.number(Preferences::LineLengthMark));
    editor->setWhitespaceShown(m_preferences.flag(Preferences::ShowBlanks));
}

void PreferenceEffects::setEditorFont()
{
    m_window.findChild<CodeEditorView *>()->setFont(
        m_zoom->zoomed(Theme::monospacedFont(m_preferences.text(Preferences::EditorFont),
                                             m_preferences.number(Preferences::EditorFontSize))));
}

void PreferenceEffects::setShellFont()
{
    const QFont font =
        m_zoom->zoomed(Theme::monospacedFont(m_preferences.text(Preferences::ShellFont),
                                             m_preferences.number(Preferences::ShellFontSize)));
    m_window.findChild<TranscriptView *>()->setFont(font);
    m_window.findChild<ShellInput *>()->setFont(font);
}

} // namespace Korvane
