#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace Korvane {

/// A file that the command line names.
struct FileArgument
{
    QString path;
    /// Counted from 1; 0 when no line was given.
    int line = 0;

    friend bool operator==(const FileArgument &, const FileArgument &) = default;
};

/// The parsed command line: `korvane [--port PORT] [FILE[:LINE] …]`.
struct CommandLine
{
    QList<FileArgument> files;
    /// Empty when none was given.
    QString port;
    /// Set when the program must print this and end with `exitStatus`: the output of --help or
    /// --version, or what is wrong with the options.
    QString text;
    int exitStatus = 0;

    /// Parses \p arguments, the first of which is the program's name. File names are made absolute;
    /// `FILE:LINE` names a line unless a file of that whole name exists. Needs no QCoreApplication.
    [[nodiscard]] static CommandLine parse(const QStringList &arguments);

    /// The files and the port as bytes for RunningInstance: UTF-8 fields that end with NUL.
    [[nodiscard]] QByteArray toMessage() const;
    /// The reverse of toMessage(); nothing for bytes of another form.
    [[nodiscard]] static std::optional<CommandLine> fromMessage(const QByteArray &message);
};

} // namespace Korvane
