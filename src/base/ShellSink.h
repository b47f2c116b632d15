#pragma once

#include "base/Records.h"

namespace Korvane {

/// Where the parts below `app` put what the person is to read. The Shell transcript implements it;
/// tests bring their own. Main thread only.
class ShellSink
{
public:
    virtual ~ShellSink() = default;

    /// Always adds one new line of that kind, with the text as given.
    virtual void appendLine(const QString &text, REPLLine::Kind kind) = 0;
    /// Adds what a program printed: cleaned of terminal escapes and merged into the last output
    /// line.
    virtual void appendOutput(const QString &text) = 0;

    void appendInfo(const QString &text) { appendLine(text, REPLLine::Kind::Info); }
    void appendError(const QString &text) { appendLine(text, REPLLine::Kind::Error); }
};

} // namespace Korvane
