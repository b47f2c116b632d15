#pragma once

#include <unistd.h>

#include <utility>

namespace Korvane {

/// Owns one file descriptor and closes it when destroyed; -1 means none.
class FileDescriptor final
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        reset(std::exchange(other.m_descriptor, -1));
        return *this;
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;

    /// Closes the present descriptor and takes ownership of \p descriptor.
    void reset(int descriptor = -1)
    {
        const int previous = std::exchange(m_descriptor, descriptor);
        if (previous != -1)
            ::close(previous);
    }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] bool isValid() const { return m_descriptor != -1; }

private:
    int m_descriptor = -1;
};

} // namespace Korvane
