#pragma once

#include <cstddef>

namespace velloria
{

/// Zeroed memory that stays in RAM for as long as it lives, so that a thread with a deadline never waits for
/// a page of it. Where the system refuses to lock (a small limit of the user's), the pages are at least
/// present from the start.
class LockedMemory
{
public:
    explicit LockedMemory(size_t numBytes);
    ~LockedMemory();
    LockedMemory(const LockedMemory&) = delete;
    LockedMemory& operator=(const LockedMemory&) = delete;

    /// Aligned to a page; null for a size of 0 and where there is no memory.
    void* data() const { return mData; }
    size_t size() const { return mData ? mNumBytes : 0; }

private:
    size_t mNumBytes;
    void* mData = nullptr;
};

} // namespace velloria
