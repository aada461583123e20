#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

#include <vector>

namespace velloria
{

/// Where everything lies in a FLAC file that is not in Ogg, as far as its headers tell.
struct FlacLayout {
    struct Block {
        /// One of FLAC__MetadataType, or an unknown one.
        int type = 0;
        /// With the header of four bytes; reaches beyond the file where that is cut off.
        ByteRange bytes;
        ByteRange payload() const { return {bytes.offset + headerLength, bytes.length - headerLength}; }
        static constexpr int64_t headerLength = 4;
    };

    /// The name in front of the blocks; behind tags of other kinds, which do not belong to FLAC.
    ByteRange marker;
    std::vector<Block> blocks;
    /// The frames, up to the tags behind them, with whatever stands among them.
    ByteRange sound;
    /// Every block is there, in full, and the description of the sound is the first one, as it must be.
    bool isWhole = false;

    static FlacLayout ofFile(const FileHandle& handle);
};

} // namespace velloria
