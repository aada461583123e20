#pragma once

#include "formats/chunks/RiffChunkList.h"

#include <QByteArray>
#include <optional>

namespace velloria
{

/// The outermost header of a WAVE file: four characters, the length of all behind this field (32 bits) and
/// "WAVE". "RIFF" is the plain form; "RIFX" has every number big-endian; "RF64" and "BW64" hold more than
/// 4 GB: where a size field holds all ones, the true one stands in 64 bits in a chunk "ds64" that comes first
/// (EBU Tech 3306: length of the whole, length of the sound, frames, then a count and pairs of name and
/// size). Some programs put an ID3v2 tag in front, as into an MP3 file.
struct WaveContainer {
    static constexpr int64_t headerLength = 12;
    static constexpr int64_t longSizesLength = 28;

    /// Of the header; what lies before it is a tag.
    int64_t offset = 0;
    ChunkByteOrder byteOrder = ChunkByteOrder::littleEndian;
    bool hasLongSizes = false;
    /// Of a file with long sizes.
    bool isBW64 = false;

    /// Nothing for a file of another type.
    static std::optional<WaveContainer> ofFile(const FileHandle& handle);

    /// Where the chunks stand.
    RiffRegion region(const FileHandle& handle) const;

    /// The header of a plain file of that length.
    static QByteArray header(int64_t fileLength);
    /// Header and sizes of an RF64 or BW64 file.
    QByteArray longHeader(int64_t fileLength, int64_t numBytesOfSound, int64_t numFrames) const;
};

} // namespace velloria
