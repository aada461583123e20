#pragma once

#include <unistd.h>
#include <utility>

namespace velloria
{

/// Owns a file descriptor of the system and closes it; -1 stands for none.
class UniqueDescriptor
{
public:
    UniqueDescriptor() = default;
    explicit UniqueDescriptor(int descriptor)
        : mDescriptor(descriptor)
    {
    }
    UniqueDescriptor(UniqueDescriptor&& other) noexcept
        : mDescriptor(other.release())
    {
    }
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept
    {
        std::swap(mDescriptor, other.mDescriptor);
        return *this;
    }
    ~UniqueDescriptor()
    {
        if (mDescriptor >= 0)
            ::close(mDescriptor);
    }

    explicit operator bool() const { return mDescriptor >= 0; }
    int get() const { return mDescriptor; }
    int release() { return std::exchange(mDescriptor, -1); }

private:
    int mDescriptor = -1;
};

} // namespace velloria
