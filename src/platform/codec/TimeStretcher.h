#pragma once

#include <cstdint>
#include <memory>

struct RubberBandState_;

namespace velloria
{

/// Changes the tempo of stereo sound without its pitch, by Rubber Band. The library is opened at first use.
/// After construction one thread at a time; what is marked REALTIME neither allocates nor waits.
class TimeStretcher
{
public:
    static constexpr double kSlowest = 0.25;
    static constexpr double kFastest = 4.0;
    /// The most frames that are put in at once.
    static constexpr uint32_t kMaxInputFrames = 2048;

    /// Null, with a log line, when the library is missing. Tempo 2 is twice as fast.
    static std::unique_ptr<TimeStretcher> create(double sampleRate, double tempo);

    /// REALTIME. Clamped to the limits.
    void setTempo(double tempo);
    double tempo() const { return mTempo; }

    /// Frames to put in first, from before the sound's start; as many frames as startDelay() that come out
    /// then are to be dropped.
    uint32_t startPad() const;
    uint32_t startDelay() const;

    /// REALTIME. How many frames are to be put in for more to come out; up to kMaxInputFrames, at least one.
    uint32_t numFramesWanted() const;
    /// REALTIME.
    void put(const float* left, const float* right, uint32_t numFrames);
    /// REALTIME. How many frames can be taken.
    uint32_t numFramesReady() const;
    /// REALTIME. How many were taken.
    uint32_t take(float* left, float* right, uint32_t numFrames);

private:
    struct Deleter {
        void operator()(RubberBandState_* state) const;
    };

    TimeStretcher(double sampleRate, double tempo);

    double mTempo;
    std::unique_ptr<RubberBandState_, Deleter> mState;
};

} // namespace velloria
