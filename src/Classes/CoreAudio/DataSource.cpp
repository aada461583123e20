#include "Classes/CoreAudio/DataSource.h"

#include "platform/Log.h"

#include <algorithm>
#include <cassert>

namespace velloria
{

bool DataSource::requestDataWithNumFrames(uint64_t, SampleBlock& block)
{
    block.clear();
    return false;
}

FloatBuffer DataSource::interleaveAudioData(const SampleBlock& block)
{
    if (block.empty())
        return {};
    const size_t numFrames = block.front().size();
    const size_t numChannels = block.size();
    const auto isOfOtherLength = [numFrames](const FloatBuffer& buffer) {
        return buffer.size() != numFrames;
    };
    if (std::any_of(block.begin(), block.end(), isOfOtherLength)) {
        logLine(QStringLiteral("Noninterleaved data array is not of uniform length."));
        return {};
    }
    FloatBuffer interleaved(numFrames * numChannels);
    for (size_t channel = 0; channel < numChannels; ++channel) {
        float* out = interleaved.data() + channel;
        for (const float sample : block[channel]) {
            *out = sample;
            out += numChannels;
        }
    }
    return interleaved;
}

SampleBlock DataSource::deinterleaveAudioData(std::span<const float> data, uint32_t numChannels)
{
    assert(numChannels > 0);
    const size_t numFrames = data.size() / numChannels;
    SampleBlock block(numChannels, FloatBuffer(numFrames));
    for (size_t channel = 0; channel < numChannels; ++channel)
        for (size_t frame = 0; frame < numFrames; ++frame)
            block[channel][frame] = data[frame * numChannels + channel];
    return block;
}

} // namespace velloria
