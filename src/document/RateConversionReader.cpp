#include "document/RateConversionReader.h"

namespace velloria
{

namespace
{

constexpr int64_t kFramesPerStep = 8192;

} // namespace

RateConversionReader::RateConversionReader(AudioTrackPtr track, double sourceRate, double targetRate)
    : SequentialReader(1)
    , mTrack(std::move(track))
    , mSourceRate(sourceRate)
    , mTargetRate(targetRate)
{
}

std::shared_ptr<RateConversionReader> RateConversionReader::create(AudioTrackPtr track, double sourceRate,
                                                                   double targetRate, MaybeError* error)
{
    std::shared_ptr<RateConversionReader> reader(
        new RateConversionReader(std::move(track), sourceRate, targetRate));
    // Whether there is a conversion shows now; the reader starts with one of its own.
    const bool isPossible =
        TrackRateConverter::create(*reader->mTrack, sourceRate, targetRate, error) != nullptr;
    return isPossible ? reader : nullptr;
}

void RateConversionReader::begin()
{
    mConverter = TrackRateConverter::create(*mTrack, mSourceRate, mTargetRate, nullptr);
}

bool RateConversionReader::computeSome(std::vector<FloatBuffer>& frames)
{
    if (mConverter)
        mConverter->convert(kFramesPerStep, frames.front());
    return !frames.front().empty();
}

} // namespace velloria
