#pragma once

#include <QLatin1StringView>
#include <QString>

namespace Korvane {

/// The user's stored settings by their keys. Reading and writing report no errors to the caller.
/// What each key of the program means, and its default, is in `Preferences`.
class Settings
{
public:
    /// The keys of the assistant's server.
    static constexpr QLatin1StringView serverEnabled{"MCPServerEnabled"};         // flag
    static constexpr QLatin1StringView autoApproveWrites{"MCPAutoApproveWrites"}; // flag
    static constexpr QLatin1StringView serverPort{"MCPServerPort"};               // number
    static constexpr QLatin1StringView serverToken{"MCPServerToken"};             // text

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
    /// As if it had never been set.
    virtual void remove(const QString &key) = 0;
};

} // namespace Korvane
