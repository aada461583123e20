#include "document/clips/SourceReader.h"

#include "document/clips/AudioData.h"
#include "document/clips/SampleKernels.h"
#include "platform/Log.h"

#include <algorithm>
#include <array>
#include <vector>

namespace velloria::SourceReader
{

namespace
{

// What one read brings in: small enough for the stack and the second-level cache.
constexpr size_t kScratchBytes = 65536;

bool convertIntegers(std::span<const std::byte> frames, int64_t bytesPerSample, int64_t channel,
                     int64_t numChannels, std::span<float> out)
{
    if (SampleConversion::integersToFloats(frames, bytesPerSample, channel, numChannels, out))
        return true;
    logLine(QStringLiteral("Unsupported sample size of %1 bytes").arg(bytesPerSample));
    return false;
}

/// One channel of interleaved frames; false for a sample format that has no floats.
bool convertFrames(std::span<const std::byte> frames, const SampleSource& source, int64_t channel,
                   std::span<float> out)
{
    const int64_t bits = source.sampleBits();
    const int64_t numChannels = source.channelCount();
    if (!source.isFloat())
        return convertIntegers(frames, (bits + 7) / 8, channel, numChannels, out);
    const auto first = static_cast<size_t>(channel);
    const auto stride = static_cast<size_t>(numChannels);
    if (bits == 32)
        SampleKernels::gatherFloats(frames.data() + 4 * first, stride, out.data(), out.size());
    else if (bits == 64)
        SampleKernels::narrowDoubles(frames.data() + 8 * first, stride, out.data(), out.size());
    return bits == 32 || bits == 64;
}

size_t readThrough(std::span<std::byte> scratch, const SampleSource& source, int64_t position,
                   std::span<const Channel> channels, size_t numFrames)
{
    const auto frameSize = static_cast<size_t>(source.frameSize());
    size_t done = 0;
    while (done < numFrames) {
        const auto wanted = scratch.first(std::min(numFrames - done, scratch.size() / frameSize) * frameSize);
        const int64_t numBytes =
            source.readAudioDataAtOffset(position + static_cast<int64_t>(done * frameSize), wanted);
        const size_t count = static_cast<size_t>(std::max<int64_t>(0, numBytes)) / frameSize;
        for (const Channel& channel : channels) {
            if (!convertFrames(wanted.first(count * frameSize), source, channel.index,
                               {channel.out + done, count}))
                return done;
        }
        done += count;
        if (count * frameSize < wanted.size())
            break;
    }
    return done;
}

} // namespace

size_t read(const SampleSource& source, int64_t frame, std::span<const Channel> channels, size_t numFrames)
{
    const int64_t frameSize = source.frameSize();
    const bool exist = std::all_of(channels.begin(), channels.end(), [&](const Channel& channel) {
        return channel.index >= 0 && channel.index < source.channelCount();
    });
    if (frameSize < 1 || !exist || numFrames == 0)
        return 0;
    const int64_t position = frame * frameSize + source.soundDataOffset();
    if (source.isFloat() && source.sampleBits() == 32 && frameSize == 4 && channels.size() == 1) {
        const std::span<float> out(channels[0].out, numFrames);
        return static_cast<size_t>(source.readAudioDataAtOffset(position, std::as_writable_bytes(out)) /
                                   frameSize);
    }
    if (frameSize > static_cast<int64_t>(kScratchBytes)) {
        std::vector<std::byte> oneFrame(static_cast<size_t>(frameSize));
        return readThrough(oneFrame, source, position, channels, numFrames);
    }
    alignas(64) std::array<std::byte, kScratchBytes> scratch;
    return readThrough(scratch, source, position, channels, numFrames);
}

} // namespace velloria::SourceReader
