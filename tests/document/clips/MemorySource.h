#pragma once

#include "document/clips/SampleSource.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace velloria
{

/// Sound data in memory that behaves like an opened file: a header of some bytes, then interleaved frames.
class MemorySource : public SampleSource
{
public:
    MemorySource(std::vector<std::byte> bytes, int64_t bits, int64_t numChannels, bool isFloat = false)
        : mBytes(std::move(bytes))
        , mBits(bits)
        , mNumChannels(numChannels)
        , mIsFloat(isFloat)
    {
    }

    template <typename Sample>
    static std::shared_ptr<MemorySource> of(const std::vector<Sample>& samples, int64_t numChannels,
                                            bool isFloat = false)
    {
        const auto view = std::as_bytes(std::span(samples));
        std::vector<std::byte> bytes(view.begin(), view.end());
        return std::make_shared<MemorySource>(std::move(bytes), 8 * sizeof(Sample), numChannels, isFloat);
    }

    int64_t soundDataOffset() const override { return 44; }
    bool isFloat() const override { return mIsFloat; }
    int64_t channelCount() const override { return mNumChannels; }
    int64_t sampleBits() const override { return mBits; }
    double sampleRate() const override { return 44100.0; }
    int64_t numberOfFrames() const override { return static_cast<int64_t>(mBytes.size()) / frameSize(); }

    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override
    {
        const int64_t start = offset - soundDataOffset();
        const int64_t count = std::clamp<int64_t>(static_cast<int64_t>(mBytes.size()) - start, 0,
                                                  static_cast<int64_t>(out.size()));
        if (start < 0 || count == 0)
            return 0;
        std::memcpy(out.data(), mBytes.data() + start, static_cast<size_t>(count));
        return count;
    }

private:
    std::vector<std::byte> mBytes;
    int64_t mBits;
    int64_t mNumChannels;
    bool mIsFloat;
};

inline std::vector<int16_t> randomInt16(size_t count, unsigned seed)
{
    std::mt19937 engine(seed);
    std::vector<int16_t> samples(count);
    std::generate(samples.begin(), samples.end(), [&] { return static_cast<int16_t>(engine()); });
    return samples;
}

inline std::vector<std::byte> randomBytes(size_t count, unsigned seed)
{
    std::mt19937 engine(seed);
    std::vector<std::byte> bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::byte>(engine()); });
    return bytes;
}

inline std::vector<float> randomFloats(size_t count, float amplitude, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<float> distribution(-amplitude, amplitude);
    std::vector<float> samples(count);
    std::generate(samples.begin(), samples.end(), [&] { return distribution(engine); });
    return samples;
}

} // namespace velloria
