#pragma once

#include "platform/hardware/AudioStreams.h"

#include <array>
#include <atomic>

namespace velloria
{

/// Spreads the left and right frames of a client over the channels of a device. The map may change while the
/// device's thread reads it.
class ChannelMap
{
public:
    static constexpr uint32_t kMaxChannels = 64;
    /// A client is asked for no more frames at once.
    static constexpr uint32_t kMaxBlockFrames = 4096;

    /// Left and right on the first two channels.
    ChannelMap();

    void set(std::span<const int32_t> map);

    /// REALTIME. Fills `out`, interleaved frames of numChannels (up to kMaxChannels) channels, with what the
    /// client renders; silence where it does not.
    void render(OutputClient& client, float* out, uint32_t numChannels, uint32_t numFrames) noexcept;

private:
    std::array<std::atomic<int32_t>, kMaxChannels> mEntries;
    std::array<float, kMaxBlockFrames> mLeft{};
    std::array<float, kMaxBlockFrames> mRight{};
};

} // namespace velloria
