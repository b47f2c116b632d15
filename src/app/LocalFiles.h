#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"
#include "base/Records.h"
#include "base/UserPrompts.h"

#include <QCoro/QCoroTask>
#include <QObject>

namespace Korvane {

class ShellSink;

/// A name that can be given to a file or folder: not empty, without "/" and ":", neither "." nor
/// "..".
[[nodiscard]] bool isUsableFileName(const QString &name);

/// The folder of this computer that is being browsed, and what can be done in it. Main thread;
/// the disk is read on others.
class LocalFiles final : public QObject
{
    Q_OBJECT

public:
    /// Starts at the person's home folder. Both must outlive this.
    LocalFiles(ShellSink &shell, UserPrompts &prompts, QObject *parent = nullptr);

    [[nodiscard]] const QString &localWorkingDir() const { return m_localWorkingDir; }
    /// \p path is absolute.
    void setLocalWorkingDir(const QString &path);
    /// To the parent folder; nothing changes at "/".
    void goToEnclosingFolder();

    /// Counts the calls of `reload`.
    [[nodiscard]] int localFilesVersion() const { return m_localFilesVersion; }
    /// Something in the folder changed: whoever shows it lists it again.
    void reload();

    /// The entries of the folder at \p path without the hidden ones, folders first, in natural
    /// order; an empty list when it cannot be read. Nothing when this object has gone.
    [[nodiscard]] QCoro::Task<std::optional<QList<FileNode>>> list(QString path);
    /// Asks for a name and makes a folder of that name.
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
