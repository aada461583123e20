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

/// The chunks of a RIFF or IFF file, found by walking from one to the next. An odd payload is followed by a
/// pad byte. Some programs leave it out, others pad to even offsets instead of even sizes, and some pad with
/// anything: whether a pad byte is there is told by where something stands that looks like the next chunk's
/// header. The walk ends at the end of the file, whatever the sizes claim, and after more chunks than any
/// sound file has (a damaged one could hold a chunk every eight bytes).
class RiffChunkList
{
public:
    static constexpr size_t mostChunksOfFile = 10000;

    /// The chunks whose headers lie from `firstOffset` to `end`, which is that of the file or of a list. From
    /// `formEnd` on, where the whole ends as its header tells, only what has a name is a chunk.
    static RiffChunkList ofFile(const FileHandle& handle, int64_t firstOffset, int64_t end,
                                size_t mostChunks = mostChunksOfFile,
                                ChunkByteOrder byteOrder = ChunkByteOrder::littleEndian,
                                int64_t formEnd = std::numeric_limits<int64_t>::max());

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
