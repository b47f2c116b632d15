#pragma once

/// The accessible interfaces of the program's own controls.
namespace Korvane::Accessibility {

/// Registers them with Qt. Called once, before a widget is shown.
void install();

} // namespace Korvane::Accessibility
