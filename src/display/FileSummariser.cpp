#include "display/FileSummariser.h"

#include "document/clips/AudioData.h"
#include "document/clips/SampleKernels.h"

#include <algorithm>

namespace velloria
{

namespace
{

// Fits the second-level cache, and is large enough that the calls cost nothing beside the work.
constexpr int64_t kBlockBytes = int64_t{128} * 1024;

} // namespace

FileSummariser::FileSummariser(const SampleSource& file, std::span<WaveformCache> caches)
    : mFile(file)
    , mCaches(caches)
    , mNumFrames(std::max<int64_t>(0, file.numberOfFrames()))
    , mFrameSize(std::max<int64_t>(1, file.frameSize()))
    , mFramesPerBlock(static_cast<size_t>(std::max<int64_t>(1, kBlockBytes / mFrameSize)))
{
    const size_t numBytes = mFramesPerBlock * static_cast<size_t>(mFrameSize);
    if (!file.isFloat() && file.sampleBits() > 8 && file.sampleBits() <= 16) {
        mIntegers.resize(numBytes / sizeof(int16_t));
        for (WaveformCache& cache : mCaches)
            mCachePointers.push_back(&cache);
        return;
    }
    mBytes.resize(numBytes);
    for (size_t channel = 0; channel < mCaches.size(); ++channel) {
        mChannels.emplace_back(mFramesPerBlock);
        mChannelPointers.push_back(mChannels.back().data());
    }
}

int64_t FileSummariser::appendBlock()
{
    if (mNumDone >= mNumFrames || mCaches.empty())
        return 0;
    const int64_t numRead = mIntegers.empty() ? appendFloatFrames() : appendInt16Frames();
    mNumDone += numRead;
    return numRead;
}

/// Whole frames only.
int64_t FileSummariser::readFrames(std::span<std::byte> out)
{
    const auto wanted = static_cast<size_t>(
        std::min(static_cast<int64_t>(mFramesPerBlock), mNumFrames - mNumDone) * mFrameSize);
    const int64_t position = mFile.soundDataOffset() + mNumDone * mFrameSize;
    return std::max<int64_t>(0, mFile.readAudioDataAtOffset(position, out.first(wanted))) / mFrameSize;
}

int64_t FileSummariser::appendInt16Frames()
{
    const int64_t numRead = readFrames(std::as_writable_bytes(std::span(mIntegers)));
    const auto numSamples = static_cast<size_t>(numRead) * mCaches.size();
    WaveformCache::appendInterleavedInt16(std::span(mIntegers).first(numSamples), mCachePointers);
    return numRead;
}

int64_t FileSummariser::appendFloatFrames()
{
    const int64_t numRead = readFrames(mBytes);
    const auto count = static_cast<size_t>(numRead);
    gather(std::span(mBytes).first(count * static_cast<size_t>(mFrameSize)), count);
    for (size_t channel = 0; channel < mCaches.size(); ++channel)
        mCaches[channel].appendFloatData(std::span(mChannels[channel]).first(count));
    return numRead;
}

void FileSummariser::gather(std::span<const std::byte> frames, size_t numFrames)
{
    if (!mFile.isFloat()) {
        SampleConversion::deinterleaveToFloats(frames, (mFile.sampleBits() + 7) / 8, mChannelPointers,
                                               static_cast<int64_t>(numFrames));
        return;
    }
    const bool isDouble = mFile.sampleBits() == 64;
    for (size_t channel = 0; channel < mChannels.size(); ++channel) {
        float* const out = mChannelPointers[channel];
        if (isDouble)
            SampleKernels::narrowDoubles(frames.data() + 8 * channel, mChannels.size(), out, numFrames);
        else
            SampleKernels::gatherFloats(frames.data() + 4 * channel, mChannels.size(), out, numFrames);
    }
}

} // namespace velloria
