#pragma once

#include "base/Async.h"
#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/Records.h"
#include "base/UserPrompts.h"

#include <QCoro/QCoroTask>
#include <QDateTime>
#include <QObject>

namespace Korvane {

class ShellSink;

/// A name that can be given to a file or folder: not empty, without "/" and ":", neither "." nor
/// "..".
[[nodiscard]] bool isUsableFileName(const QString &name);

/// The local folder that is shown in the file browser, and operations in it. Main thread only; the
/// disk is read and written in the background.
class LocalFiles final : public QObject
{
    Q_OBJECT

public:
    /// Starts at the user's home folder. Both must outlive this.
    LocalFiles(ShellSink &shell, UserPrompts &prompts, QObject *parent = nullptr);

    [[nodiscard]] const QString &localWorkingDir() const { return m_localWorkingDir; }
    /// \p path is absolute.
    void setLocalWorkingDir(const QString &path);
    /// To the parent folder; nothing changes at "/".
    void goToEnclosingFolder();

    /// Counts the calls of `reload`.
    [[nodiscard]] int localFilesVersion() const { return m_localFilesVersion; }
    /// Emits localFilesVersionChanged, on which the views list the folder again.
    void reload();

    /// The entries of the folder at \p path without the hidden ones, folders first, in natural
    /// order. Fails when it cannot be read, and with ErrorCode::Closed when this object was
    /// destroyed meanwhile.
    [[nodiscard]] Async<QList<FileNode>> list(QString path);
    struct Details
    {
        qint64 size = 0; // bytes
        QDateTime modified;
        bool isDirectory = false;
    };
    /// Of the file or folder at \p path. Fails when there is none.
    [[nodiscard]] Async<Details> details(QString path);
    /// Asks for a name and creates a folder of that name in the browsed one. A failure is written
    /// to the Shell. The task may be dropped.
    QCoro::Task<void> createFolder();

signals:
    void localWorkingDirChanged();
    void localFilesVersionChanged();

private:
    ShellSink &m_shell;
    UserPrompts &m_prompts;
    QString m_localWorkingDir;
    int m_localFilesVersion = 0;
    Background m_background;
    Lifetime m_life;
};

} // namespace Korvane
