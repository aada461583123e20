#include "document/TrackRateConverter.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t kFramesPerBlock = 4096;

} // namespace

TrackRateConverter::TrackRateConverter(const AudioTrack& track)
    : mTrack(track)
    , mLength(track.length())
{
}

std::unique_ptr<TrackRateConverter> TrackRateConverter::create(const AudioTrack& track, double sourceRate,
                                                               double targetRate, MaybeError* error)
{
    std::unique_ptr<TrackRateConverter> converter(new TrackRateConverter(track));
    converter->mConverter = AudioConverterWrapper::withInputFormat(
        StreamDescription::descriptionWithSampleRate(sourceRate, 1),
        StreamDescription::descriptionWithSampleRate(targetRate, 1), error);
    if (!converter->mConverter)
        return nullptr;
    converter->mConverter->setDataSource(converter.get());
    return converter;
}

void TrackRateConverter::convert(int64_t numFrames, FloatBuffer& out)
{
    for (int64_t done = 0; done < numFrames; done += kFramesPerBlock) {
        const int64_t count = std::min(kFramesPerBlock, numFrames - done);
        const std::vector<float> block = mConverter->convertedFloatsWithNumPackets(count);
        out.insert(out.end(), block.begin(), block.end());
        if (std::ssize(block) < count)
            return;
    }
}

std::vector<float> TrackRateConverter::interleavedDataForAudioConverter(AudioConverterWrapper&,
                                                                        int64_t numberOfPackets)
{
    std::vector<float> frames(static_cast<size_t>(std::min(numberOfPackets, mLength - mOffset)));
    mTrack.readSamples(mOffset, frames);
    mOffset += std::ssize(frames);
    return frames;
}

} // namespace velloria
