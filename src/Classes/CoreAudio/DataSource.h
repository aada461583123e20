#pragma once

#include "document/clips/AudioClip.h"

#include <cstdint>
#include <span>
#include <vector>

namespace velloria
{

/// One float buffer per channel, all of one length. An empty list means that the source is exhausted.
using SampleBlock = std::vector<FloatBuffer>;

/// Where blocks of samples are pulled from. Runs on the caller's thread.
class DataSource
{
public:
    virtual ~DataSource() = default;

    /// Up to numFrames frames in `block`, whose buffers are reused; false (block empty) at the end.
    virtual bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block);

    /// Frame by frame; nothing, logged, when the buffers are of different lengths.
    static FloatBuffer interleaveAudioData(const SampleBlock& block);
    static SampleBlock deinterleaveAudioData(std::span<const float> data, uint32_t numChannels);
};

} // namespace velloria
