#pragma once

#include <utility>

#include <unistd.h>

/// Owns an open file descriptor, or none.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int openDescriptor)
        : descriptor(openDescriptor)
    {
    }
    ~FileDescriptor()
    {
        if (isOpen())
            ::close(descriptor);
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor(std::exchange(other.descriptor, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(descriptor, other.descriptor);
        return *this;
    }

    bool isOpen() const { return descriptor >= 0; }
    int get() const { return descriptor; }

private:
    int descriptor = -1;
};
