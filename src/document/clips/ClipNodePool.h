#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace velloria
{

/// Memory for the nodes of clip lists. An undo history without a limit is millions of small nodes, and most
/// of their bytes would be pointers and the heap's own book-keeping; from here they come without a gap and
/// are named by 32 bits. Any thread. The memory goes back to the system when the last node is gone.
namespace ClipNodePool
{

/// Place of a block in units of 8 bytes; 0 names nothing.
using Handle = uint32_t;

inline constexpr size_t kUnit = 8;
inline constexpr int kChunkBits = 17;
inline constexpr size_t kChunkUnits = size_t{1} << kChunkBits;
inline constexpr size_t kMaxChunks = size_t{1} << (32 - kChunkBits);
/// Largest block, in units.
inline constexpr size_t kMaxUnits = 32;

/// Set before any handle into the chunk is given out, so that whoever was handed one sees it.
extern std::array<std::atomic<std::byte*>, kMaxChunks> chunks;

inline void* blockAt(Handle handle)
{
    std::byte* chunk = chunks[handle >> kChunkBits].load(std::memory_order_relaxed);
    return chunk + (handle & (kChunkUnits - 1)) * kUnit;
}

/// Uninitialised; throws std::bad_alloc when there is no more memory.
Handle allocate(size_t numUnits);
/// `numUnits` as it was allocated.
void release(Handle handle, size_t numUnits);

/// Blocks in use.
int64_t numBlocks();

} // namespace ClipNodePool

} // namespace velloria
