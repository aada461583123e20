#pragma once

#include "document/clips/AudioTrack.h"
#include "document/clips/Dither.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velloria
{

/// Builds blocks of interleaved samples for a file writer out of the clips of some tracks. A run that a clip
/// reads in place from integers of the very size being written, or that was decoded from such integers, is
/// carried over unchanged, channel by channel; everything else goes through floats and dither. Frames that a
/// source no longer has become silence, and its file notes that (FileHandle::numMissedReads()). Buffers are
/// reused from block to block. One thread at a time.
class SaveBlockBuilder
{
public:
    SaveBlockBuilder(TrackList tracks, int32_t firstTrack, int32_t numTracks, int64_t bytesPerSample);

    /// The dither of the blocks to come; the same seed gives the same dither.
    void setDitherSeed(uint64_t seed) { mDither = DitherGenerator(seed); }

    /// Room for a block of `numFrames` frames of integers, as large as the largest block so far.
    std::span<std::byte> blockOf(int64_t numFrames);

    /// Fills `out` with numFrames frames from a frame of the document on: signed integers in host order.
    void buildIntegers(int64_t frame, int64_t numFrames, std::span<std::byte> out);

    /// The same as floats, for formats that store no integers. The result lasts until the next call.
    std::span<const float> buildFloats(int64_t frame, int64_t numFrames);

    /// The file frame at which all tracks together read the channels of one file, in their order and all of
    /// them, for a whole range of the document's frames.
    struct CommonSource {
        const SampleSource* source = nullptr;
        int64_t frame = 0;
    };
    std::optional<CommonSource> commonSource(int64_t frame, int64_t numFrames) const;

private:
    /// A piece of a clip and where its first sample goes.
    struct Run {
        const AudioClip& clip;
        int64_t clipOffset;
        int64_t numFrames;
        std::byte* out;
    };
    /// Frames of a source in host order, kept for the other tracks that read the same ones.
    struct SourceBlock {
        const SampleSource* source = nullptr;
        int64_t frame = 0;
        int64_t numFrames = 0;
        std::vector<std::byte> bytes;
    };

    const AudioTrack& track(int32_t index) const;
    int64_t chunkFramesAt(int64_t frame) const;
    void readTrack(int32_t index, int64_t frame, std::span<float> out);
    void buildTrack(int32_t index, int64_t frame, int64_t numFrames, std::byte* out);
    void buildRun(const Run& run);
    void buildSilence(std::byte* out, int64_t numFrames);
    void buildRunFromIntegers(const Run& run, const SampleSource& source);
    void buildRunFromFloats(const Run& run);
    void ditherInto(std::span<const float> samples, std::byte* out);
    std::span<const std::byte> framesOf(const SampleSource& source, int64_t frame, int64_t numFrames);
    std::span<float> floatsOf(int64_t numFrames);

    const TrackList mTracks;
    const int32_t mFirstTrack;
    const int32_t mNumTracks;
    const int64_t mBytesPerSample;
    DitherGenerator mDither;
    SourceBlock mSourceBlock;
    std::vector<std::byte> mBlock;
    std::vector<float> mFloats;
    std::vector<float> mInterleaved;
};

} // namespace velloria
