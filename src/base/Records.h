#pragma once

#include "base/TextFormat.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QUuid>

#include <cstdio> // stdout and stderr are field names below; the macros must be known first
#include <optional>

// The records that every subsystem shares. All are plain values; each id is a fresh random UUID
// made with the record, and records of different runs are never matched by it.

namespace Korvane {

/// One row of the Variables table.
struct PythonVariable
{
    QString name;
    QString type;
    /// A printable form, cut by whoever made it to 500 characters and "...".
    QString value;
    QUuid id = QUuid::createUuid();
};

/// One entry of the Shell. Its text may hold line ends.
struct REPLLine
{
    enum class Kind { Input, Output, Error, Info };

    Kind kind;
    QString text;
    QUuid id = QUuid::createUuid();
};

/// One open document. Two values are equal when their ids are, whatever else differs.
struct EditorFile
{
    QUuid id = QUuid::createUuid();
    /// Tab title and file name.
    QString name;
    /// Where it is saved on this computer; empty when it is not.
    QString path;
    /// Where it lives on the board; empty when it does not.
    QString devicePath;
    /// As the editor shows it: every line ends in "\n".
    QString content;
    /// What turns `content` into the file's text again.
    TextFormat format = {};
    bool isModified = false;
    /// 1-based line numbers.
    QSet<int> breakpoints;

    /// The document that File › New makes while \p number - 1 others are open.
    [[nodiscard]] static EditorFile untitled(qsizetype number);

    /// The text as it goes into the file.
    [[nodiscard]] QString fileText() const { return format.attach(content); }

    friend bool operator==(const EditorFile &a, const EditorFile &b) { return a.id == b.id; }
};

/// One entry of a local folder.
struct FileNode
{
    QString name;
    QString path;
    bool isDirectory = false;
    QUuid id = QUuid::createUuid();
};

/// One entry of the board's file tree.
struct DeviceFileNode
{
    QString name;
    /// Absolute on the board, without a slash at the end.
    QString path;
    bool isDirectory = false;
    /// Bytes; 0 when unknown.
    qint64 size = 0;
    /// Present for folders.
    std::optional<QList<DeviceFileNode>> children;
    QUuid id = QUuid::createUuid();
};

/// What one program on the board left behind; line ends are "\n".
struct DeviceExecution
{
    /// Everything it printed.
    QString stdout;
    /// The traceback if it raised, otherwise empty.
    QString stderr;

    friend bool operator==(const DeviceExecution &, const DeviceExecution &) = default;
};

/// What one request to the local Python session yields.
struct RunResult
{
    /// Empty on success.
    QString error;
    QList<PythonVariable> variables;
};

/// The state of the link to the board. Only `Connected` counts as connected.
class DeviceConnectionState final
{
public:
    enum class Kind { Disconnected, Connecting, Connected };

    [[nodiscard]] static DeviceConnectionState disconnected() { return {Kind::Disconnected, {}}; }
    [[nodiscard]] static DeviceConnectionState connecting() { return {Kind::Connecting, {}}; }
    [[nodiscard]] static DeviceConnectionState connected(const QString &port)
    {
        return {Kind::Connected, port};
    }

    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] bool isConnected() const { return m_kind == Kind::Connected; }
    /// The serial device path while connected, otherwise empty.
    [[nodiscard]] const QString &port() const { return m_port; }

    friend bool operator==(const DeviceConnectionState &, const DeviceConnectionState &) = default;

private:
    DeviceConnectionState(Kind kind, QString port)
        : m_kind(kind)
        , m_port(std::move(port))
    {
    }

    Kind m_kind;
    QString m_port;
};

} // namespace Korvane
