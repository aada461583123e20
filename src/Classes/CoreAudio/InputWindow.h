#pragma once

#include "platform/hardware/AudioStreams.h"

#include <array>
#include <cstdint>

namespace velloria
{

/// The frames that were last pulled from a client, so that two readers, each at its own place, may read the
/// same stream, and one may begin a little in the past. Frames from before the start are silence. Used by the
/// device's thread only; all of it is REALTIME.
class InputWindow
{
public:
    /// A reader may be so far behind the foremost one.
    static constexpr int64_t kNumFrames = 16384;

    explicit InputWindow(OutputClient& client)
        : mClient(client)
    {
    }

    /// The next numFrames frames from `cursor` on, pulled where nobody was before.
    void read(int64_t cursor, float* left, float* right, uint32_t numFrames) noexcept;
    /// The first frame that nobody read so far.
    int64_t head() const { return mHead; }
    /// What the client answered last.
    int32_t status() const { return mStatus; }

private:
    void pull(float* left, float* right, uint32_t numFrames) noexcept;
    void keep(const float* left, const float* right, uint32_t numFrames) noexcept;

    OutputClient& mClient;
    int64_t mHead = 0;
    int32_t mStatus = 0;
    std::array<float, kNumFrames> mLeft{};
    std::array<float, kNumFrames> mRight{};
};

} // namespace velloria
