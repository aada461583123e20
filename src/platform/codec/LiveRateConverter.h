#pragma once

#include <cstdint>
#include <memory>

struct soxr;

namespace velloria
{

/// Changes the rate of stereo sound while it plays, by soxr. After construction one thread at a time; what is
/// marked REALTIME neither allocates nor waits, because the constructor has put silence through until all of
/// soxr's buffers have their size.
class LiveRateConverter
{
public:
    /// The most frames that are put in or taken out at once.
    static constexpr uint32_t kMaxFrames = 1024;
    static constexpr double kSlowest = 0.25;
    static constexpr double kFastest = 4.0;

    /// Null for rates that make no sense. A speed other than 1 changes the pitch as well; only one made so
    /// can change its speed later.
    static std::unique_ptr<LiveRateConverter> create(double inputRate, double outputRate, double speed);

    bool canChangeSpeed() const { return mCanChangeSpeed; }
    /// REALTIME. Clamped to the limits.
    void setSpeed(double speed);
    /// Input frames for one output frame.
    double ratio() const { return mRatio; }

    /// REALTIME. Takes some of the interleaved frames and gives some; neither count is above its limit.
    struct Step {
        uint32_t numUsed;
        uint32_t numMade;
    };
    Step convert(const float* in, uint32_t numIn, float* out, uint32_t numOut);

    /// REALTIME. Input frames that went in and did not come out yet.
    double numFramesHeld() const;

private:
    struct Deleter {
        void operator()(soxr* converter) const;
    };

    LiveRateConverter(double inputRate, double outputRate, double speed);
    void warmUp();
    void putSilence();

    double mBaseRatio;
    double mRatio;
    bool mCanChangeSpeed;
    std::unique_ptr<soxr, Deleter> mConverter;
};

} // namespace velloria
