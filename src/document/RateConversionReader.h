#pragma once

#include "document/TrackRateConverter.h"
#include "document/clips/SequentialReader.h"

namespace velloria
{

/// The frames of a track at another sample rate, converted as they are read.
class RateConversionReader final : public SequentialReader
{
public:
    /// Null with `error` filled where there is no conversion between the rates.
    static std::shared_ptr<RateConversionReader> create(AudioTrackPtr track, double sourceRate,
                                                        double targetRate, MaybeError* error);

private:
    RateConversionReader(AudioTrackPtr track, double sourceRate, double targetRate);
    void begin() override;
    bool computeSome(std::vector<FloatBuffer>& frames) override;

    const AudioTrackPtr mTrack;
    const double mSourceRate;
    const double mTargetRate;
    std::unique_ptr<TrackRateConverter> mConverter;
};

} // namespace velloria
