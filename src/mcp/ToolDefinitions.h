#pragma once

#include <QByteArray>

namespace Korvane {

/// The definitions of the tools for the assistant: a JSON array in UTF-8, its objects' keys sorted.
[[nodiscard]] QByteArray toolDefinitions();

} // namespace Korvane
