#pragma once

#include <QByteArray>

namespace Korvane {

/// What the assistant is told of the tools: a JSON array in UTF-8, its objects' keys sorted.
[[nodiscard]] QByteArray toolDefinitions();

} // namespace Korvane
