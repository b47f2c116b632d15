#pragma once

/// How assistive programs see those of our controls that the toolkit knows nothing of.
namespace Korvane::Accessibility {

/// Tells the toolkit of them. Once, before anything is shown.
void install();

} // namespace Korvane::Accessibility
