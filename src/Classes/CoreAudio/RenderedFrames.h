#pragma once

#include "Classes/CoreAudio/VLRTRingBuffer.h"

#include <atomic>
#include <memory>
#include <span>
#include <vector>

namespace velloria
{

/// The stereo frames that a device took last, for who measures them on another thread. Nothing is kept until
/// somebody wants them; what nobody fetches in time is lost. The device's thread appends, without a lock and
/// without memory of its own; one ordinary thread calls the rest.
class RenderedFrames
{
public:
    /// The memory stays for as long as this lives, so that the device's thread never sees it go away.
    explicit RenderedFrames(int32_t numFramesToHold)
        : mNumFramesToHold(numFramesToHold)
    {
    }

    /// Begins or ends keeping. What was kept before a pause is dropped.
    void setWanted(bool isWanted);
    bool isWanted() const { return mIsWanted.load(std::memory_order_relaxed); }
    /// REALTIME. Interleaved pairs.
    void append(const float* pairs, int32_t numFrames) noexcept;
    /// The interleaved pairs that came since the last time; good until the next call.
    std::span<const float> take();

private:
    const int32_t mNumFramesToHold;
    std::unique_ptr<VLRTRingBuffer> mRing; ///< made when first wanted
    std::atomic<VLRTRingBuffer*> mShared{nullptr};
    std::atomic<bool> mIsWanted{false};
    std::vector<float> mTaken;
};

} // namespace velloria
