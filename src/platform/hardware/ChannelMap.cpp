#include "platform/hardware/ChannelMap.h"

#include <algorithm>

namespace velloria
{

ChannelMap::ChannelMap()
{
    const int32_t stereo[] = {0, 1};
    set(stereo);
}

void ChannelMap::set(std::span<const int32_t> map)
{
    // Relaxed: an entry stands for itself, and a block with one old and one new entry does no harm.
    for (size_t i = 0; i < mEntries.size(); ++i)
        mEntries[i].store(i < map.size() ? map[i] : -1, std::memory_order_relaxed);
}

void ChannelMap::render(OutputClient& client, float* out, uint32_t numChannels, uint32_t numFrames) noexcept
{
    while (numFrames > 0) {
        const uint32_t count = std::min(numFrames, kMaxBlockFrames);
        const bool hasFrames = client.render(mLeft.data(), mRight.data(), count) == 0;
        for (uint32_t channel = 0; channel < numChannels; ++channel) {
            const int32_t entry =
                channel < kMaxChannels ? mEntries[channel].load(std::memory_order_relaxed) : -1;
            const bool isSilent = !hasFrames || (entry != 0 && entry != 1);
            const float* const in = entry == 1 ? mRight.data() : mLeft.data();
            for (uint32_t frame = 0; frame < count; ++frame)
                out[frame * numChannels + channel] = isSilent ? 0.0F : in[frame];
        }
        out += static_cast<size_t>(count) * numChannels;
        numFrames -= count;
    }
}

} // namespace velloria
