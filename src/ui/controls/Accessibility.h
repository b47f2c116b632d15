#pragma once

/// The accessible interfaces of our own controls.
namespace Korvane::Accessibility {

/// Registers them with Qt. Once, before anything is shown.
void install();

} // namespace Korvane::Accessibility
