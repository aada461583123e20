#include "formats/saving/SaveBlockBuilder.h"

#include "document/clips/AudioClip.h"
#include "document/clips/AudioData.h"

#include <algorithm>
#include <cstring>

namespace velloria
{

namespace
{

// Frames that are worked on at a time: their floats, bytes and source bytes stay in the nearer caches.
constexpr int64_t mostChunkFrames = 4096;
constexpr int64_t largestSourceBlock = int64_t{1} << 20;
constexpr int64_t largestIntegerSize = 4;

/// Copies samples of `Size` bytes from every `inStride`-th place to every `outStride`-th.
template <size_t Size>
void gatherSamples(const std::byte* in, size_t inStride, std::byte* out, size_t outStride, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        std::memcpy(out + i * outStride * Size, in + i * inStride * Size, Size);
}

void gather(const std::byte* in, size_t inStride, std::byte* out, size_t outStride, size_t count,
            int64_t size)
{
    if (inStride == 1 && outStride == 1) {
        std::memcpy(out, in, count * static_cast<size_t>(size));
        return;
    }
    switch (size) {
    case 1:
        return gatherSamples<1>(in, inStride, out, outStride, count);
    case 2:
        return gatherSamples<2>(in, inStride, out, outStride, count);
    case 3:
        return gatherSamples<3>(in, inStride, out, outStride, count);
    default:
        return gatherSamples<4>(in, inStride, out, outStride, count);
    }
}

int64_t bytesPerSampleOf(const SampleSource& source)
{
    return (source.sampleBits() + 7) / 8;
}

/// True for PCM whose bytes can be looked at here; everything else is the clip's own business.
bool isIntegerSource(const SampleSource& source, int64_t channel)
{
    const int64_t size = bytesPerSampleOf(source);
    return !source.isFloat() && size >= 1 && size <= largestIntegerSize && channel >= 0 &&
           channel < source.channelCount();
}

} // namespace

SaveBlockBuilder::SaveBlockBuilder(TrackList tracks, int32_t firstTrack, int32_t numTracks,
                                   int64_t bytesPerSample)
    : mTracks(std::move(tracks))
    , mFirstTrack(firstTrack)
    , mNumTracks(numTracks)
    , mBytesPerSample(bytesPerSample)
{
}

const AudioTrack& SaveBlockBuilder::track(int32_t index) const
{
    return *(*mTracks)[static_cast<size_t>(mFirstTrack) + static_cast<size_t>(index)];
}

std::span<std::byte> SaveBlockBuilder::blockOf(int64_t numFrames)
{
    const auto numBytes = static_cast<size_t>(numFrames * mNumTracks * mBytesPerSample);
    if (mBlock.size() < numBytes)
        mBlock.resize(numBytes);
    return std::span(mBlock).first(numBytes);
}

std::span<float> SaveBlockBuilder::floatsOf(int64_t numFrames)
{
    if (mFloats.size() < static_cast<size_t>(numFrames))
        mFloats.resize(static_cast<size_t>(numFrames));
    return std::span(mFloats).first(static_cast<size_t>(numFrames));
}

void SaveBlockBuilder::buildIntegers(int64_t frame, int64_t numFrames, std::span<std::byte> out)
{
    if (mBytesPerSample > largestIntegerSize) {
        std::fill(out.begin(), out.end(), std::byte{0});
        return;
    }
    const int64_t frameSize = mNumTracks * mBytesPerSample;
    const int64_t chunkFrames = chunkFramesAt(frame);
    for (int64_t done = 0; done < numFrames; done += chunkFrames) {
        const int64_t count = std::min(chunkFrames, numFrames - done);
        for (int32_t index = 0; index < mNumTracks; ++index)
            buildTrack(index, frame + done, count, out.data() + done * frameSize + index * mBytesPerSample);
    }
}

int64_t SaveBlockBuilder::chunkFramesAt(int64_t frame) const
{
    const ClipList& clips = track(0).clips();
    const ClipList::Position position = clips.find(frame);
    if (position.index < 0)
        return mostChunkFrames;
    const AudioClipPtr clip = clips.at(position.index);
    const int64_t frameSize = clip->sourceFile() ? clip->sourceFile()->frameSize() : 0;
    return std::clamp<int64_t>(largestSourceBlock / std::max<int64_t>(1, frameSize), 1, mostChunkFrames);
}

std::span<const float> SaveBlockBuilder::buildFloats(int64_t frame, int64_t numFrames)
{
    mInterleaved.resize(static_cast<size_t>(numFrames * mNumTracks));
    const std::span<float> samples = floatsOf(numFrames);
    for (int32_t index = 0; index < mNumTracks; ++index) {
        readTrack(index, frame, samples);
        float* out = mInterleaved.data() + index;
        for (size_t i = 0; i < samples.size(); ++i)
            out[i * static_cast<size_t>(mNumTracks)] = samples[i];
    }
    return mInterleaved;
}

/// Silence beyond the track's end.
void SaveBlockBuilder::readTrack(int32_t index, int64_t frame, std::span<float> out)
{
    const ClipList& clips = track(index).clips();
    size_t done = 0;
    const auto add = [&](const AudioClipPtr& clip, int64_t clipStart) {
        const int64_t clipOffset = frame + static_cast<int64_t>(done) - clipStart;
        const auto count = static_cast<size_t>(
            std::clamp<int64_t>(clip->numFrames() - clipOffset, 0, std::ssize(out.subspan(done))));
        clip->readSamples(clipOffset, out.subspan(done, count));
        done += count;
        return done < out.size();
    };
    if (const ClipList::Position position = clips.find(frame); position.index >= 0)
        clips.forEachFrom(position.index, add);
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(done), out.end(), 0.0F);
}

void SaveBlockBuilder::buildTrack(int32_t index, int64_t frame, int64_t numFrames, std::byte* out)
{
    const ClipList& clips = track(index).clips();
    const int64_t frameSize = mNumTracks * mBytesPerSample;
    int64_t done = 0;
    const auto add = [&](const AudioClipPtr& clip, int64_t clipStart) {
        const int64_t clipOffset = frame + done - clipStart;
        const int64_t count = std::min(clip->numFrames() - clipOffset, numFrames - done);
        if (count > 0) {
            buildRun({*clip, clipOffset, count, out + done * frameSize});
            done += count;
        }
        return done < numFrames;
    };
    if (const ClipList::Position position = clips.find(frame); position.index >= 0)
        clips.forEachFrom(position.index, add);
    buildSilence(out + done * frameSize, numFrames - done);
}

void SaveBlockBuilder::buildRun(const Run& run)
{
    const SampleSource* source = run.clip.sourceFile().get();
    if (run.clip.isSilence())
        buildSilence(run.out, run.numFrames);
    else if (source && isIntegerSource(*source, run.clip.channelIndex()))
        buildRunFromIntegers(run, *source);
    else
        buildRunFromFloats(run);
}

void SaveBlockBuilder::buildSilence(std::byte* out, int64_t numFrames)
{
    // Dither leaves digital silence as it is.
    const std::byte zeros[largestIntegerSize] = {};
    gather(zeros, 0, out, static_cast<size_t>(mNumTracks), static_cast<size_t>(numFrames), mBytesPerSample);
}

void SaveBlockBuilder::buildRunFromIntegers(const Run& run, const SampleSource& source)
{
    const int64_t size = bytesPerSampleOf(source);
    const int64_t numChannels = source.channelCount();
    const int64_t channel = run.clip.channelIndex();
    const int64_t maxFrames = std::max<int64_t>(1, largestSourceBlock / source.frameSize());
    for (int64_t done = 0; done < run.numFrames;) {
        const int64_t count = std::min(maxFrames, run.numFrames - done);
        const auto frames = framesOf(source, run.clip.sourceOffset() + run.clipOffset + done, count);
        std::byte* const out = run.out + done * mNumTracks * mBytesPerSample;
        if (size == mBytesPerSample) {
            gather(frames.data() + channel * size, static_cast<size_t>(numChannels), out,
                   static_cast<size_t>(mNumTracks), static_cast<size_t>(count), size);
        } else {
            const std::span<float> samples = floatsOf(count);
            SampleConversion::integersToFloats(frames, size, channel, numChannels, samples);
            ditherInto(samples, out);
        }
        done += count;
    }
}

void SaveBlockBuilder::buildRunFromFloats(const Run& run)
{
    const std::span<float> samples = floatsOf(run.numFrames);
    run.clip.readSamples(run.clipOffset, samples);
    if ((run.clip.storedSamples().integerBits() + 7) / 8 == mBytesPerSample)
        SampleConversion::floatsToNearestIntegers(samples, mBytesPerSample, run.out, mNumTracks);
    else
        ditherInto(samples, run.out);
}

void SaveBlockBuilder::ditherInto(std::span<const float> samples, std::byte* out)
{
    SampleConversion::floatsToIntegers(samples, mBytesPerSample, out, mNumTracks, mDither);
}

std::span<const std::byte> SaveBlockBuilder::framesOf(const SampleSource& source, int64_t frame,
                                                      int64_t numFrames)
{
    const auto numBytes = static_cast<size_t>(numFrames * source.frameSize());
    SourceBlock& block = mSourceBlock;
    if (block.source == &source && frame >= block.frame &&
        frame + numFrames <= block.frame + block.numFrames) {
        const auto start = static_cast<size_t>((frame - block.frame) * source.frameSize());
        return std::span(block.bytes).subspan(start, numBytes);
    }
    if (block.bytes.size() < numBytes)
        block.bytes.resize(numBytes);
    const std::span<std::byte> bytes = std::span(block.bytes).first(numBytes);
    const int64_t numRead =
        source.readAudioDataAtOffset(source.soundDataOffset() + frame * source.frameSize(), bytes);
    std::fill(bytes.begin() + numRead - numRead % source.frameSize(), bytes.end(), std::byte{0});
    block.source = &source;
    block.frame = frame;
    block.numFrames = numFrames;
    return bytes;
}

std::optional<SaveBlockBuilder::CommonSource> SaveBlockBuilder::commonSource(int64_t frame,
                                                                             int64_t numFrames) const
{
    CommonSource common;
    for (int32_t index = 0; index < mNumTracks; ++index) {
        const ClipList& clips = track(index).clips();
        const ClipList::Position position = clips.find(frame);
        if (position.index < 0)
            return std::nullopt;
        const AudioClipPtr clip = clips.at(position.index);
        const SampleSource* source = clip->sourceFile().get();
        const int64_t clipOffset = frame - position.startFrame;
        const int64_t sourceFrame = clip->sourceOffset() + clipOffset;
        if (index == 0)
            common = {source, sourceFrame};
        if (!source || source != common.source || sourceFrame != common.frame ||
            clip->channelIndex() != index || source->channelCount() != mNumTracks ||
            clipOffset + numFrames > clip->numFrames())
            return std::nullopt;
    }
    return common;
}

} // namespace velloria
