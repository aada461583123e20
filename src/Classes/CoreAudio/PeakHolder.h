#pragma once

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <optional>

namespace velloria
{

/// The largest absolute samples of both sides since somebody last took them. "Nothing was played" is another
/// answer than "silence was played": who looks more often than the device asks would see a steady tone
/// flicker otherwise. Both peaks are one number, so that none gets lost between taking and raising. Any
/// thread.
class PeakHolder
{
public:
    struct Peaks {
        float leftPeak = 0.0F;
        float rightPeak = 0.0F;
    };

    /// REALTIME.
    void raise(const Peaks& block) noexcept
    {
        uint64_t seen = mBits.load(std::memory_order_relaxed);
        uint64_t raised = 0;
        do {
            const Peaks held = seen == kNothing ? Peaks{} : fromBits(seen);
            raised =
                toBits({std::max(held.leftPeak, block.leftPeak), std::max(held.rightPeak, block.rightPeak)});
        } while (!mBits.compare_exchange_weak(seen, raised, std::memory_order_relaxed));
    }

    /// Nothing when no block came since the last time.
    std::optional<Peaks> take()
    {
        const uint64_t bits = mBits.exchange(kNothing, std::memory_order_relaxed);
        return bits == kNothing ? std::nullopt : std::optional(fromBits(bits));
    }

private:
    static constexpr uint64_t kNothing = ~uint64_t{0};

    static Peaks fromBits(uint64_t bits)
    {
        return {std::bit_cast<float>(static_cast<uint32_t>(bits >> 32U)),
                std::bit_cast<float>(static_cast<uint32_t>(bits))};
    }
    static uint64_t toBits(const Peaks& peaks)
    {
        return uint64_t{std::bit_cast<uint32_t>(peaks.leftPeak)} << 32U |
               std::bit_cast<uint32_t>(peaks.rightPeak);
    }

    std::atomic<uint64_t> mBits{kNothing};
};

} // namespace velloria
