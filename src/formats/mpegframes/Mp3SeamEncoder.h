#pragma once

#include "formats/mpegframes/Mp3SeamPlan.h"
#include "formats/mpegframes/StereoMix.h"
#include "platform/Progress.h"
#include "platform/codec/Mp3Encoder.h"

#include <functional>

namespace velloria
{

/// Encodes packets of a new MP3 file so that they lie on the grid of the copied ones: LAME hears the sound
/// from some packets before them on, as if it had encoded the whole, and those are left out. One thread.
class Mp3SeamEncoder
{
public:
    /// Everything must live longer. `range` is what is saved.
    Mp3SeamEncoder(const FrameSource& document, const SaveRange& range, const Mp3FrameIndex& index,
                   const Mp3SeamPlan& plan)
        : mDocument(document)
        , mRange(range)
        , mIndex(index)
        , mPlan(plan)
    {
    }

    struct Packets {
        int64_t first = 0;
        int64_t count = 0;
        uint32_t bitRateIndex = 1;
        /// False for packets that do not need one another's main data.
        bool hasReservoir = false;
        bool hasShortWindows = true;
    };
    /// Takes each packet, with the bytes of main data that it needs in front of its own share; on another
    /// thread. An error stops.
    using Taker = std::function<MaybeError(const QByteArray& packet, const QByteArray& reservoir)>;
    MaybeError encode(const Packets& packets, const Taker& take, Progress& progress);

private:
    MaybeError feed(Mp3Encoder& encoder, const Mp3Encoder::Sink& sink, int64_t firstFrame, int64_t numFrames,
                    Progress& progress);

    const FrameSource& mDocument;
    const SaveRange& mRange;
    const Mp3FrameIndex& mIndex;
    const Mp3SeamPlan& mPlan;
};

} // namespace velloria
