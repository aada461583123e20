#pragma once

#include "document/clips/MutableAudioClip.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace velloria
{

/// What is known of a file's sound when its decoding begins.
struct DecodingStart {
    double sampleRate = 44100.0;
    uint32_t bitsPerSample = 16;
    /// As the file declares it; 0 when it does not say.
    int64_t expectedFrames = 0;
    /// One a channel; they grow until decoding ends.
    std::vector<std::shared_ptr<MutableAudioClip>> clips;
};

/// Hears of the clips that a file is decoded into before they are complete, so that they can be shown while
/// they grow. Called once, on the thread that decodes; never for a file that is read in place.
class DecodingWatcher
{
public:
    virtual ~DecodingWatcher() = default;
    virtual void decodingDidBegin(const DecodingStart& start) = 0;
};

} // namespace velloria
