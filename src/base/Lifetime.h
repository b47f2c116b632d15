#pragma once

#include <memory>

namespace Korvane {

/// Tells a coroutine, after a wait, whether the object it belongs to still exists.
///
/// A QPointer is not enough: it is not null before ~QObject, when the members of the object are
/// already destroyed. Declare the Lifetime as the **last** member, so that it is destroyed first;
/// take a `watch()` before the first wait and test it after every one. Main thread only.
class Lifetime final
{
public:
    class Watch final
    {
    public:
        explicit operator bool() const { return !m_token.expired(); }

    private:
        friend class Lifetime;
        explicit Watch(const std::shared_ptr<const char> &token)
            : m_token(token)
        {
        }
        std::weak_ptr<const char> m_token;
    };

    Lifetime() = default;
    Lifetime(const Lifetime &) = delete;
    Lifetime &operator=(const Lifetime &) = delete;

    [[nodiscard]] Watch watch() const { return Watch(m_token); }

private:
    std::shared_ptr<const char> m_token = std::make_shared<const char>('\0');
};

} // namespace Korvane
