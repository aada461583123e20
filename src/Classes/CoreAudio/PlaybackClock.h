#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

namespace velloria
{

/// When which frame is heard. A device asks for frames in blocks of up to a tenth of a second, some time
/// before they are heard; for each block its thread notes the time at which the block's end will be heard,
/// and whoever shows a position reads it off between two such points. So the position moves with time, never
/// goes back and never gets ahead of what the device has taken.
class PlaybackClock
{
public:
    /// REALTIME. `numFrames` frames were handed over since the beginning; those that came since the last call
    /// are heard between these two times, in seconds. One thread.
    void add(int64_t numFrames, double heardFrom, double heardUntil) noexcept;

    /// How many frames have been heard at a time; nothing before the first add(). Any thread.
    std::optional<int64_t> numFramesHeardAt(double time) const;

private:
    struct Point {
        std::atomic<double> time{0.0};
        std::atomic<int64_t> numFrames{0};
    };
    /// Of 64 frames each, the smallest that a server asks for, these are more than half a second.
    static constexpr uint64_t kNumPoints = 512;
    /// So many may be overwritten while somebody reads.
    static constexpr uint64_t kNumSpare = 16;

    void push(double time, int64_t numFrames) noexcept;
    const Point& pointAt(uint64_t number) const { return mPoints[number % kNumPoints]; }
    int64_t lookUp(double time, uint64_t count) const;

    std::array<Point, kNumPoints> mPoints;
    std::atomic<uint64_t> mCount{0};
    // The device's thread's.
    double mLastTime = 0.0;
    int64_t mLastNumFrames = 0;
};

} // namespace velloria
