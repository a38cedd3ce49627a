#pragma once
#include <unistd.h>
#include <utility>

namespace vireo {

/// Owns one file descriptor of the kernel; -1 = none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int iNumber)
        : m_iNumber(iNumber)
    {
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_iNumber(std::exchange(other.m_iNumber, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_iNumber, other.m_iNumber);
        return *this;
    }
    ~FileDescriptor() { Close(); }

    [[nodiscard]] int Number() const { return m_iNumber; }
    [[nodiscard]] bool IsOpen() const { return m_iNumber >= 0; }
    void Close()
    {
        if (m_iNumber >= 0)
            close(std::exchange(m_iNumber, -1));
    }

private:
    int m_iNumber = -1;
};

} // namespace vireo
