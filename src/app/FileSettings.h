#pragma once

#include "app/Settings.h"

#include <QSettings>
#include <QStringList>

#include <functional>

namespace Korvane {

/// The settings in one INI file that only its owner can read, since it holds the assistant's token.
/// Values are written to the disk at once. Of a damaged file, the values that can be read are used.
/// When the file cannot be written, values that are set last until the program ends.
class FileSettings final : public Settings
{
public:
    explicit FileSettings(const QString &path = defaultPath());
    FileSettings(const FileSettings &) = delete;
    FileSettings &operator=(const FileSettings &) = delete;

    /// Calls \p onProblem once for each problem with the file: now for those so far, and for later
    /// ones when they occur. They are logged in any case.
    void setProblemHandler(std::function<void(const QString &)> onProblem);

    /// In the user's configuration folder.
    [[nodiscard]] static QString defaultPath();

    [[nodiscard]] bool flag(const QString &key) const override;
    [[nodiscard]] int number(const QString &key) const override;
    [[nodiscard]] QString text(const QString &key) const override;
    void setFlag(const QString &key, bool value) override;
    void setNumber(const QString &key, int value) override;
    void setText(const QString &key, const QString &value) override;
    void remove(const QString &key) override;

private:
    /// An invalid \p value removes the key.
    void store(const QString &key, const QVariant &value);
    /// Makes the file readable for its owner only; returns \p path.
    QString prepare(const QString &path);
    void report(const QString &problem);

    std::function<void(const QString &)> m_onProblem;
    QStringList m_problems;   // reported so far, each once
    mutable QSettings m_file; // synchronized with the file before each read
};

} // namespace Korvane
