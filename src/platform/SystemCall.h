#pragma once

#include <cerrno>

namespace velloria
{

/// Makes a system call again as long as a signal interrupts it, which network file systems let happen to
/// nearly every call. Gives what the call gave in the end: -1 with errno set when it failed.
template <typename Call> auto uninterrupted(Call call)
{
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

} // namespace velloria
