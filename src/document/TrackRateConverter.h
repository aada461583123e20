#pragma once

#include "document/clips/AudioTrack.h"
#include "platform/codec/AudioConverterWrapper.h"

#include <memory>

namespace velloria
{

/// Brings one track to another sample rate, from its first frame to its last. One thread at a time; the track
/// must live longer.
class TrackRateConverter : private AudioConverterDataSource
{
public:
    /// Null with `error` filled where there is no conversion between the rates.
    static std::unique_ptr<TrackRateConverter> create(const AudioTrack& track, double sourceRate,
                                                      double targetRate, MaybeError* error);

    /// Appends the next frames to `out`: numFrames of them, or fewer at the end.
    void convert(int64_t numFrames, FloatBuffer& out);

private:
    explicit TrackRateConverter(const AudioTrack& track);
    std::vector<float> interleavedDataForAudioConverter(AudioConverterWrapper& converter,
                                                        int64_t numberOfPackets) override;

    const AudioTrack& mTrack;
    const int64_t mLength;
    int64_t mOffset = 0;
    std::unique_ptr<AudioConverterWrapper> mConverter;
};

} // namespace velloria
