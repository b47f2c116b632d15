#pragma once

#include <QString>

namespace Korvane {

/// What went wrong, for code to decide by. The text beside it is for people only.
enum class ErrorCode {
    // The board (made by DeviceError)
    TimedOut,
    Remote,
    NotConnected,
    PausedAtBreakpoint,
    ProgramRunning,
    NoRawREPL,
    // The serial port; `Error::systemCode` holds errno
    SerialPort,
    // Local files
    File,
    NotText,
    // The person said no, or closed the question
    Cancelled,
    // The owner of the operation has gone; nobody is left to be told
    Closed,
    // Listening for the assistant
    Network,
    // What a tool tells the assistant (made by MCPToolError)
    Tool,
};

/// A failure as a value: a code for programs, a message for a person, detail for whoever digs.
struct Error
{
    ErrorCode code;
    QString message;
    /// The full traceback of a `Remote` error; otherwise empty.
    QString detail = {};
    /// errno where the system refused, otherwise 0.
    int systemCode = 0;
};

} // namespace Korvane
