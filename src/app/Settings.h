#pragma once

#include <QString>

namespace Korvane {

/// The user's settings: four keys, asked for whenever a value is needed and never cached by the
/// asker. Reading and writing never fail towards the caller.
class Settings
{
public:
    /// The keys there are.
    static inline const QString serverEnabled = QStringLiteral("MCPServerEnabled");         // flag
    static inline const QString autoApproveWrites = QStringLiteral("MCPAutoApproveWrites"); // flag
    static inline const QString serverPort = QStringLiteral("MCPServerPort");   // number
    static inline const QString serverToken = QStringLiteral("MCPServerToken"); // text

    virtual ~Settings() = default;

    /// False when never set or not understood.
    [[nodiscard]] virtual bool flag(const QString &key) const = 0;
    /// 0 when never set or not a whole number that fits.
    [[nodiscard]] virtual int number(const QString &key) const = 0;
    /// Empty when never set.
    [[nodiscard]] virtual QString text(const QString &key) const = 0;

    virtual void setFlag(const QString &key, bool value) = 0;
    virtual void setNumber(const QString &key, int value) = 0;
    virtual void setText(const QString &key, const QString &value) = 0;
};

} // namespace Korvane
