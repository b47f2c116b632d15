#pragma once

#include "base/Background.h"
#include "base/Lifetime.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

namespace Korvane {

class Preferences;

/// What was typed into the Shell, oldest first, kept between starts in a file that only its owner
/// can read: one JSON string per line, the newest last. Several instances may add to the same file.
/// Main thread only.
class InputHistory final
{
public:
    static constexpr qsizetype maxEntries = 1000;  // read from the file; later ones are not limited
    static constexpr qsizetype maxLength = 10'000; // of an entry that is kept in the file

    /// Nothing is read or written when \p path is empty, and while Preferences::KeepShellHistory is
    /// off.
    InputHistory(const QString &path, const Preferences &preferences);

    [[nodiscard]] static QString defaultPath();

    /// Reads the file, once: its entries precede those that were added since. The task may be
    /// dropped.
    QCoro::Task<void> load();
    /// Adds an entry; one of up to `maxLength` characters is appended to the file, too.
    void add(const QString &entry);
    /// Removes the file; entries() does not change.
    void forget();

    [[nodiscard]] const QStringList &entries() const { return m_entries; }
    /// The entries that contain \p text, ignoring case, each once, the newest first.
    [[nodiscard]] QStringList matching(const QString &text) const;

private:
    [[nodiscard]] bool isKept() const;

    QString m_path;
    const Preferences &m_preferences;
    QStringList m_entries;
    bool m_isLoaded = false;
    Background m_background{1}; // in order
    Lifetime m_life;
};

} // namespace Korvane
