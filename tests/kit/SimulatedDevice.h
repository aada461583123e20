#pragma once

#include "Classes/CoreAudio/VLRTAudioPlayerCore.h"
#include "platform/hardware/SimulatedHardware.h"
#include "platform/hardware/SimulatedStreams.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

namespace velloria::kit
{

/// Lets a simulated stereo device ask a player for so many frames, in requests of these sizes in turn; what
/// it gets on the left. It waits for the player to have filled its ring, so that no gap is the machine's.
inline std::vector<float> pullLeft(SimulatedHardware& hardware, VLRTAudioPlayerCore& core, int64_t numFrames,
                                   const std::vector<uint32_t>& requests = {512})
{
    std::vector<float> left;
    for (size_t i = 0; hardware.output() && std::ssize(left) < numFrames; ++i) {
        const int64_t rest = numFrames - std::ssize(left);
        const int64_t request = std::min<int64_t>(requests[i % requests.size()], rest);
        const int64_t wanted = std::min(2 * request + 512, core.numFramesToHold() - 512);
        const PlaybackFeed& feed = core.feed();
        while (feed.ring.framesAvailableToConsume() < wanted && !feed.sourceExhausted)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        const std::vector<float> frames = hardware.output()->pull(static_cast<uint32_t>(request));
        if (frames.empty())
            break;
        for (size_t frame = 0; frame < frames.size(); frame += 2)
            left.push_back(frames[frame]);
    }
    return left;
}

} // namespace velloria::kit
