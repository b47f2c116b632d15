#pragma once

#include <QString>

namespace Korvane {

/// The kind of a failure, for decisions in code. The message beside it is for the user only.
enum class ErrorCode {
    // The board (made by DeviceError)
    TimedOut,
    Remote,
    NotConnected,
    PausedAtBreakpoint,
    ProgramRunning,
    NoRawREPL,
    // A transfer whose check failed: bytes were lost or changed on the link
    Damaged,
    // The serial port; `Error::systemCode` holds errno
    SerialPort,
    // Local files
    File,
    NotText,
    // What the user typed, such as a regular expression
    Input,
    // The board was replaced by another connection while the operation waited
    BoardReplaced,
    // The user declined, or the same operation is in progress; the message, if any, is a notice
    Canceled,
    // The owner of the operation was destroyed: nothing is reported
    Closed,
    // Listening for the assistant
    Network,
    // The error result of a tool call of the assistant (made by MCPToolError)
    Tool,
};

/// A failure as a value: a code to decide by and a message for the user.
struct Error
{
    ErrorCode code;
    QString message;
    /// The full traceback of a `Remote` error; otherwise empty.
    QString detail = {};
    /// errno when a system call failed, otherwise 0.
    int systemCode = 0;
    /// The message of the failure that caused this one, reported before it; usually empty.
    QString cause = {};
};

} // namespace Korvane
