#pragma once

#include "platform/FileHandle.h"
#include "platform/FourCharCode.h"

#include <cstdint>
#include <limits>
#include <vector>

namespace velloria
{

/// How the sizes of chunks are stored: little-endian in RIFF files, big-endian in the IFF files (AIFF) that
/// these are modelled on.
enum class ChunkByteOrder { littleEndian, bigEndian };

/// One chunk of a RIFF or IFF file: four characters, a 32-bit size, the payload.
struct RiffChunk {
    static constexpr int64_t headerLength = 8;

    FourCharCode ident = 0;
    /// Of the header, in the file.
    int64_t offset = 0;
    /// Of the payload, as the header tells; it may be more than the file holds.
    int64_t size = 0;
    /// False when the payload runs past the end of the file.
    bool isComplete = false;

    int64_t payloadOffset() const { return offset + headerLength; }
    int64_t end() const { return payloadOffset() + size; }
};

/// The true size of a chunk whose own field, of 32 bits, holds all ones.
struct LongChunkSize {
    FourCharCode ident = 0;
    int64_t size = 0;
};

/// A stretch of a file in which chunks stand one behind the other: the file's, or those of a list.
struct RiffRegion {
    int64_t firstOffset = 0;
    int64_t end = 0;
    ChunkByteOrder byteOrder = ChunkByteOrder::littleEndian;
    /// Where the whole ends as its header tells; from there on only what has a name is a chunk.
    int64_t formEnd = std::numeric_limits<int64_t>::max();
    std::vector<LongChunkSize> longSizes = {};
    /// No sound file has so many. A damaged one could hold a chunk every eight bytes.
    size_t mostChunks = 10000;
};

/// The chunks of a RIFF or IFF file, found by walking from one to the next. An odd payload is followed by a
/// pad byte. Some programs leave it out, others pad to even offsets instead of even sizes, and some pad with
/// anything: whether a pad byte is there is told by where something stands that looks like the next chunk's
/// header. The walk ends where the region does, whatever the sizes claim.
class RiffChunkList
{
public:
    static RiffChunkList ofFile(const FileHandle& handle, const RiffRegion& region);

    /// The first chunk of that name, or null.
    const RiffChunk* find(FourCharCode ident) const;
    const std::vector<RiffChunk>& chunks() const { return mChunks; }
    /// Gives a chunk whose header was never completed all the bytes up to `end`; those found there are none.
    void openUp(FourCharCode ident, int64_t end);

    /// True when a chunk's header might stand at this place: four printable characters and a size that ends
    /// within the file, unless it is the sound's.
    static bool isHeaderLikelyAt(const FileHandle& handle, int64_t offset,
                                 ChunkByteOrder byteOrder = ChunkByteOrder::littleEndian);

private:
    std::vector<RiffChunk> mChunks;
};

/// A chunk's header for a payload of that size, at most 0xFFFFFFFF.
QByteArray riffChunkHeader(FourCharCode ident, int64_t size,
                           ChunkByteOrder byteOrder = ChunkByteOrder::littleEndian);

} // namespace velloria
