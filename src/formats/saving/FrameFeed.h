#pragma once

#include "formats/saving/SaveBlockBuilder.h"
#include "formats/saving/SaveLoop.h"

#include <array>
#include <functional>

namespace velloria
{

/// Hands a range of a document's sound to an encoder: interleaved floats, in order, in blocks of 262144
/// bytes. While the encoder takes one block in on a second thread, the next one is read on the calling
/// thread. Used once.
class FrameFeed
{
public:
    static constexpr int64_t bytesPerBlock = 262144;

    /// Takes whole frames, valid during the call. An error stops the feed.
    using Taker = std::function<MaybeError(std::span<const float> interleaved)>;

    /// `range` lies within the document and has a track.
    FrameFeed(const FrameSource& document, const SaveRange& range);

    /// Ends early with the first error of `take`, or the user-cancelled one. `take` is called on another
    /// thread than this, one call at a time, and not any more when this has returned; not at all for an empty
    /// range. The progress is told, on this thread, of every block that was taken.
    MaybeError run(const Taker& take, Progress& progress);

private:
    const SaveRange mRange;
    /// One is being filled while the block of the other is taken.
    std::array<SaveBlockBuilder, 2> mBuilders;
};

} // namespace velloria
