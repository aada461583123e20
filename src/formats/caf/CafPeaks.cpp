#include "formats/caf/CafPeaks.h"

#include "formats/streams/BigEndianOutputStream.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

namespace velloria::CafPeaks
{

namespace
{

constexpr int64_t samplesPerBlock = int64_t{1} << 18;
constexpr qsizetype countLength = 4;
constexpr qsizetype peakLength = 12;

struct Peak {
    float amplitude = 0.0F;
    int64_t frame = 0;
};

void findPeak(std::span<const float> samples, int64_t firstFrame, Peak& peak)
{
    for (size_t i = 0; i < samples.size(); ++i) {
        if (const float amplitude = std::abs(samples[i]); amplitude > peak.amplitude)
            peak = {amplitude, firstFrame + static_cast<int64_t>(i)};
    }
}

} // namespace

QByteArray emptyPayload(uint32_t numChannels)
{
    return QByteArray(countLength + peakLength * qsizetype{numChannels}, '\0');
}

QByteArray payload(const FileHandle& handle, const LinearPcmRun& run, uint32_t numChannels,
                   uint32_t editCount)
{
    const int64_t framesPerBlock = std::max<int64_t>(1, samplesPerBlock / std::max(1U, numChannels));
    std::vector<Peak> peaks(numChannels);
    std::vector<std::vector<float>> blocks(numChannels,
                                           std::vector<float>(static_cast<size_t>(framesPerBlock)));
    std::vector<float*> channels;
    channels.reserve(blocks.size());
    for (std::vector<float>& block : blocks)
        channels.push_back(block.data());
    const int64_t bytesPerFrame = std::max<int64_t>(1, int64_t{run.layout.bytesPerSample} * numChannels);
    const int64_t numFrames = run.numBytes / bytesPerFrame;
    for (int64_t frame = 0; frame < numFrames; frame += framesPerBlock) {
        const int64_t wanted = std::min(framesPerBlock, numFrames - frame);
        const QByteArray bytes = handle.readAt(run.offset + frame * bytesPerFrame, wanted * bytesPerFrame);
        const int64_t count = bytes.size() / bytesPerFrame;
        linearPcmToFloats(std::as_bytes(std::span(bytes.constData(), static_cast<size_t>(bytes.size()))),
                          run.layout, count, channels);
        for (size_t i = 0; i < peaks.size(); ++i)
            findPeak(std::span(blocks[i]).first(static_cast<size_t>(count)), frame, peaks[i]);
    }
    BigEndianOutputStream stream;
    stream.writeUInt32(editCount);
    for (const Peak& peak : peaks) {
        stream.writeUInt32(std::bit_cast<uint32_t>(peak.amplitude));
        stream.writeSInt64(peak.frame);
    }
    return stream.data();
}

} // namespace velloria::CafPeaks
