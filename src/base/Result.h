#pragma once

#include "base/Error.h"

#include <tl/expected.hpp>

#include <utility>

namespace Korvane {

/// A value, or the `Error` that prevented it. Ignoring one is a compiler warning.
///
/// The only file that uses tl::expected, so that std::expected can replace it with a newer
/// compiler. Check first, then use `*result` or `result->`.
template <typename T> class [[nodiscard]] Result
{
public:
    Result(T value)
        : m_expected(std::move(value))
    {
    }
    Result(Error error)
        : m_expected(tl::unexpect, std::move(error))
    {
    }

    explicit operator bool() const { return m_expected.has_value(); }
    const T &operator*() const & { return *m_expected; }
    T &operator*() & { return *m_expected; }
    T &&operator*() && { return *std::move(m_expected); }
    const T *operator->() const { return &*m_expected; }
    T *operator->() { return &*m_expected; }
    const Error &error() const { return m_expected.error(); }

private:
    tl::expected<T, Error> m_expected;
};

/// Success without a value, or the `Error` that prevented it.
template <> class [[nodiscard]] Result<void>
{
public:
    Result() = default;
    Result(Error error)
        : m_expected(tl::unexpect, std::move(error))
    {
    }

    explicit operator bool() const { return m_expected.has_value(); }
    const Error &error() const { return m_expected.error(); }

private:
    tl::expected<void, Error> m_expected;
};

} // namespace Korvane
