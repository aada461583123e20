#include "formats/decoding/LinearPcmIntake.h"

#include "document/clips/ClipWriter.h"

#include <algorithm>

namespace velloria
{

namespace
{

// What is read at a time: stored samples and floats stay in the second-level cache.
constexpr int64_t bytesPerRead = 131072;

class Intake
{
public:
    Intake(const FileHandle& handle, const LinearPcmRun& run, uint32_t numChannels, double sampleRate)
        : mHandle(handle)
        , mRun(run)
        , mBytesPerFrame(int64_t{run.layout.bytesPerSample} * numChannels)
        , mWriter(static_cast<int32_t>(numChannels), sampleRate)
        , mBlock(numChannels)
    {
        for (const auto& clip : mWriter.clips())
            clip->setStoredSamples({int64_t{8} * run.layout.bytesPerSample, run.layout.isFloat, false});
    }

    MaybeError run(Progress& progress)
    {
        const int64_t numFrames = mRun.numBytes / mBytesPerFrame;
        const int64_t framesPerRead = std::max<int64_t>(1, bytesPerRead / mBytesPerFrame);
        for (int64_t done = 0; done < numFrames;) {
            const int64_t count = std::min(framesPerRead, numFrames - done);
            if (MaybeError error = takeIn(mRun.offset + done * mBytesPerFrame, count))
                return error;
            done += count;
            progress.setProgressValue(static_cast<double>(done) / static_cast<double>(numFrames));
            if (progress.isCancelled())
                return Error::cancelled();
        }
        return mWriter.finish();
    }

    const DecodedClips& clips() const { return mWriter.clips(); }

private:
    MaybeError takeIn(int64_t offset, int64_t numFrames)
    {
        mBytes.resize(static_cast<size_t>(numFrames * mBytesPerFrame));
        const int64_t numRead = mHandle.readAt(offset, mBytes);
        std::fill(mBytes.begin() + std::max<int64_t>(0, numRead), mBytes.end(), std::byte{0});
        std::vector<float*> channels;
        for (FloatBuffer& channel : mBlock) {
            channel.resize(static_cast<size_t>(numFrames));
            channels.push_back(channel.data());
        }
        linearPcmToFloats(mBytes, mRun.layout, numFrames, channels);
        return mWriter.append(mBlock);
    }

    const FileHandle& mHandle;
    const LinearPcmRun mRun;
    const int64_t mBytesPerFrame;
    ClipWriter mWriter;
    ClipWriter::Block mBlock;
    std::vector<std::byte> mBytes;
};

} // namespace

DecodedClips clipsOfLinearPcm(const FileHandle& handle, const LinearPcmRun& run, uint32_t numChannels,
                              double sampleRate, const std::function<void(const DecodedClips&)>& didBegin,
                              Progress& progress, MaybeError* error)
{
    Intake intake(handle, run, numChannels, sampleRate);
    didBegin(intake.clips());
    const MaybeError failure = intake.run(progress);
    if (!failure)
        return intake.clips();
    if (error)
        *error = failure;
    return {};
}

} // namespace velloria
