#pragma once

#include <QList>
#include <QString>
#include <QUuid>

// Plain values that all folders share. Each id is a random UUID created with the record; it has no
// meaning beyond this run of the program.

namespace Korvane {

/// One row of the Variables table.
struct PythonVariable
{
    QString name;
    QString type;
    /// A printable form, cut by its producer to 500 characters and "...".
    QString value;
    QUuid id = QUuid::createUuid();
};

/// One entry of the Shell. Its text may hold line ends.
struct REPLLine
{
    enum class Kind { Input, Output, Error, Info };

    /// A part of the text.
    struct Range
    {
        qsizetype start = 0;
        qsizetype length = 0;
        friend bool operator==(const Range &, const Range &) = default;
    };

    Kind kind;
    QString text;
    QUuid id = QUuid::createUuid();
    /// The parts of a line of output that the board's REPL wrote itself; ascending.
    QList<Range> replMessages = {};
    /// The run that wrote the line: a number of ShellTranscript::beginRun; 0 for none.
    int run = 0;
};

/// One entry of a local folder.
struct FileNode
{
    QString name;
    /// Empty when the name is not UTF-8: such a file is shown, but cannot be opened or copied.
    QString path;
    bool isDirectory = false;
    QUuid id = QUuid::createUuid();
};

/// The result of one request to the local Python session.
struct RunResult
{
    /// Empty on success.
    QString error;
    QList<PythonVariable> variables;
};

} // namespace Korvane
