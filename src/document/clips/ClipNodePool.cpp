#include "document/clips/ClipNodePool.h"

#include <cstring>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) static_cast<void>(0)
#define ASAN_UNPOISON_MEMORY_REGION(address, size) static_cast<void>(0)
#endif

namespace velloria::ClipNodePool
{

constinit std::array<std::atomic<std::byte*>, kMaxChunks> chunks = {};

namespace
{

// Guards everything below.
constinit std::mutex gMutex;
// First free block of each size; a free block holds the handle of the next.
std::array<Handle, kMaxUnits + 1> gFree = {};
size_t gNumChunks = 0;
// Never used part of the last chunk.
size_t gNextUnit = 0;
size_t gEndUnit = 0;
int64_t gNumBlocks = 0;

void addChunk()
{
    if (gNumChunks == kMaxChunks)
        throw std::bad_alloc();
    auto* chunk = static_cast<std::byte*>(::operator new(kChunkUnits* kUnit));
    chunks[gNumChunks].store(chunk, std::memory_order_relaxed);
    gNextUnit = gNumChunks * kChunkUnits;
    gEndUnit = gNextUnit + kChunkUnits;
    // Handle 0 names nothing.
    if (gNumChunks == 0)
        ++gNextUnit;
    ++gNumChunks;
}

void removeAllChunks()
{
    for (size_t i = 0; i < gNumChunks; ++i) {
        std::byte* chunk = chunks[i].exchange(nullptr, std::memory_order_relaxed);
        ASAN_UNPOISON_MEMORY_REGION(chunk, kChunkUnits * kUnit);
        ::operator delete(chunk);
    }
    gFree = {};
    gNumChunks = 0;
    gNextUnit = 0;
    gEndUnit = 0;
}

} // namespace

Handle allocate(size_t numUnits)
{
    const std::lock_guard lock(gMutex);
    Handle handle = gFree[numUnits];
    if (handle != 0) {
        ASAN_UNPOISON_MEMORY_REGION(blockAt(handle), numUnits * kUnit);
        std::memcpy(&gFree[numUnits], blockAt(handle), sizeof(Handle));
    } else {
        if (gEndUnit - gNextUnit < numUnits)
            addChunk();
        handle = static_cast<Handle>(gNextUnit);
        gNextUnit += numUnits;
    }
    ++gNumBlocks;
    return handle;
}

void release(Handle handle, size_t numUnits)
{
    const std::lock_guard lock(gMutex);
    std::memcpy(blockAt(handle), &gFree[numUnits], sizeof(Handle));
    ASAN_POISON_MEMORY_REGION(blockAt(handle), numUnits * kUnit);
    gFree[numUnits] = handle;
    if (--gNumBlocks == 0 && gNumChunks > 1)
        removeAllChunks();
}

int64_t numBlocks()
{
    const std::lock_guard lock(gMutex);
    return gNumBlocks;
}

} // namespace velloria::ClipNodePool
