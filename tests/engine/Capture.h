#pragma once

#include "engine/EventLoop.h"
#include "platform/hardware/PulseHardware.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace velloria::kit
{

/// Keeps the stereo frames that come in, up to a number of them.
class Keeper : public InputClient
{
public:
    explicit Keeper(size_t numFrames)
        : frames(2 * numFrames)
    {
    }
    void capture(const float* block, uint32_t numFrames) noexcept override
    {
        const size_t at = numKept.load();
        const size_t count = std::min<size_t>(numFrames, frames.size() / 2 - at);
        std::copy_n(block, 2 * count, frames.data() + 2 * at);
        numKept.store(at + count);
    }
    bool isFull() const { return numKept.load() == frames.size() / 2; }

    std::vector<float> frames;
    std::atomic<size_t> numKept{0};
};

/// What a sink of the private server plays, from when this is made; from the first sound on, without the
/// silence before it and behind the last sound.
class MonitorCapture
{
public:
    MonitorCapture(const QString& sinkName, size_t numFrames)
        : keeper(numFrames)
    {
        const HardwareState state = mHardware.state();
        if (const HardwareDevice* const monitor = state.deviceWithUID(sinkName + QStringLiteral(".monitor")))
            mStream = mHardware.openInput({monitor->id, QStringLiteral("Test"), {}}, keeper, nullptr);
        mIsRunning = mStream && !mStream->start();
    }

    bool isRunning() const { return mIsRunning; }
    bool hasGaps() const { return mStream->numOverruns() > 0; }

    /// Left and right in turn.
    std::vector<float> sound() const
    {
        const auto end = keeper.frames.begin() + static_cast<ptrdiff_t>(2 * keeper.numKept.load());
        const auto isSound = [](float sample) { return sample != 0.0F; };
        auto first = std::find_if(keeper.frames.begin(), end, isSound);
        first -= (first - keeper.frames.begin()) % 2;
        auto last = end;
        while (last - first >= 2 && !isSound(*(last - 1)) && !isSound(*(last - 2)))
            last -= 2;
        return {first, last};
    }

    Keeper keeper;

private:
    PulseHardware mHardware;
    std::unique_ptr<InputStream> mStream;
    bool mIsRunning = false;
};

} // namespace velloria::kit
