#pragma once

#include "base/Records.h"
#include "base/VisibleText.h"

namespace Korvane {

/// Where the folders below `app` write text for the user. The Shell transcript implements it; tests
/// have their own implementation. Main thread only.
class ShellSink
{
public:
    virtual ~ShellSink() = default;

    /// Always adds one new line of that kind, with the text as given.
    virtual void appendLine(const QString &text, REPLLine::Kind kind) = 0;
    /// Adds what a program printed: cleaned of terminal escapes and merged into the last output
    /// line.
    virtual void appendOutput(const QString &text) = 0;

    /// Adds text that the board's REPL wrote itself, between the outputs of programs; by default as
    /// program output.
    virtual void appendReplMessage(const QString &text) { appendOutput(text); }

    /// Adds a notice of one line. Control characters of the names in it are shown as symbols, so
    /// that no name can add a notice of its own.
    void appendInfo(const QString &text)
    {
        appendLine(VisibleText::line(text), REPLLine::Kind::Info);
    }
    /// Adds an error of one line, whose names are shown like those of a notice.
    void appendError(const QString &text)
    {
        appendLine(VisibleText::line(text), REPLLine::Kind::Error);
    }
    /// Adds what a program wrote as its error, such as a traceback: line ends are kept.
    void appendErrorOutput(const QString &text)
    {
        appendLine(VisibleText::paragraphs(text), REPLLine::Kind::Error);
    }
};

} // namespace Korvane
