#pragma once

#include "platform/Error.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

struct soxr;

namespace velloria
{

/// Changes the rate of interleaved floats: linear phase, passband flat to within 0.01 dB up to 0.9 of the
/// lower of the two highest frequencies, aliases and images below -120 dB. The filter's delay is compensated:
/// the frame at time t of the input is at time t of the output. Exactly ceil(frames in x output rate / input
/// rate) frames come out. One thread at a time.
class SampleRateConverter
{
public:
    /// What it means that the source gives nothing: that the sound is over, or that there is no more of it
    /// yet.
    enum class WhenEmpty { end, pause };

    /// Asked for a number of frames; gives any number of interleaved frames, or nothing.
    using Source = std::function<std::vector<float>(int64_t numFrames)>;

    /// Null with `error` filled for rates that make no sense.
    static std::unique_ptr<SampleRateConverter> create(double inputRate, double outputRate,
                                                       uint32_t numChannels, MaybeError* error);

    /// Up to numFrames frames, pulling what it needs; fewer only at the end, or where the source pauses.
    /// After the end the source is not asked again.
    std::vector<float> convert(int64_t numFrames, const Source& source, WhenEmpty whenEmpty = WhenEmpty::end);

    /// Frames out for frames in.
    static int64_t outputLength(int64_t numInputFrames, double inputRate, double outputRate);

private:
    struct Deleter {
        void operator()(soxr* converter) const;
    };

    SampleRateConverter(double inputRate, double outputRate, uint32_t numChannels);
    bool refill(const Source& source, WhenEmpty whenEmpty);

    std::unique_ptr<soxr, Deleter> mConverter;
    double mInputRate;
    double mOutputRate;
    size_t mNumChannels;
    std::vector<float> mInput;
    size_t mNumInputFramesUsed = 0;
    int64_t mNumInputFrames = 0;
    int64_t mNumOutputFrames = 0;
    bool mIsSourceAtEnd = false;
};

} // namespace velloria
