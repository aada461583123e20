#include "platform/LockedMemory.h"

#include <cstring>
#include <sys/mman.h>

namespace velloria
{

LockedMemory::LockedMemory(size_t numBytes)
    : mNumBytes(numBytes)
{
    if (numBytes == 0)
        return;
    void* const data = ::mmap(nullptr, numBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (data == MAP_FAILED)
        return;
    mData = data;
    ::mlock(mData, mNumBytes);
    // Writing brings the pages in even where locking was refused.
    std::memset(mData, 0, mNumBytes);
}

LockedMemory::~LockedMemory()
{
    if (!mData)
        return;
    ::munlock(mData, mNumBytes);
    ::munmap(mData, mNumBytes);
}

} // namespace velloria
