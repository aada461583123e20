#pragma once

#include "Classes/CoreAudio/VLRTAudioPlayerCore.h"
#include "platform/hardware/SimulatedHardware.h"
#include "platform/hardware/SimulatedStreams.h"

#include <chrono>
#include <thread>
#include <vector>

namespace velloria::kit
{

/// A simulated stereo device asks a player for so many frames, in blocks of 512; what it gets on the left. It
/// waits for the player to have filled its ring, so that no gap is the machine's.
inline std::vector<float> pullLeft(SimulatedHardware& hardware, VLRTAudioPlayerCore& core, int64_t numFrames)
{
    constexpr int32_t block = 512;
    std::vector<float> left;
    while (hardware.output() && std::ssize(left) < numFrames) {
        const PlaybackFeed& feed = core.feed();
        while (feed.ring.framesAvailableToConsume() < 2 * block && !feed.sourceExhausted)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        const std::vector<float> frames = hardware.output()->pull(block);
        if (frames.empty())
            break;
        for (size_t i = 0; i < frames.size(); i += 2)
            left.push_back(frames[i]);
    }
    return left;
}

} // namespace velloria::kit
