#pragma once

#include "formats/flac/FlacDescription.h"

#include <cstddef>
#include <span>
#include <vector>

namespace velloria
{

/// A run of decoded frames: floats for the clips and packed integers for the checksum. Its memory is reused.
class FlacBlock
{
public:
    /// Appends frames as the checksum of a file is computed over them: interleaved little-endian integers of
    /// as many whole bytes as samples of `bits` need.
    static void pack(std::span<const int32_t* const> channels, size_t numFrames, uint32_t bits,
                     std::vector<std::byte>& out);

    /// Empties the block for frames of this format.
    void start(const FlacFormat& format, bool isPacking);
    /// Adds frames; `channels` has one pointer for each channel of the format.
    void append(const FLAC__int32* const channels[], size_t numFrames);
    void appendSilence(size_t numFrames);
    /// Takes frames away from the start.
    void dropFirst(size_t numFrames);
    /// Adds another block of the same format.
    void append(const FlacBlock& block);

    const FlacFormat& format() const { return mFormat; }
    size_t numFrames() const { return mSamples.empty() ? 0 : mSamples.front().size(); }
    /// One buffer a channel.
    const std::vector<std::vector<float>>& samples() const { return mSamples; }
    /// Interleaved little-endian integers of whole bytes, as the file's checksum is computed over; empty
    /// unless that was asked for.
    const std::vector<std::byte>& packed() const { return mPacked; }

private:
    FlacFormat mFormat;
    bool mIsPacking = false;
    std::vector<std::vector<float>> mSamples;
    std::vector<std::byte> mPacked;
};

} // namespace velloria
