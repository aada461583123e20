#pragma once

#include "document/clips/FrameSource.h"
#include "platform/Error.h"
#include "platform/Progress.h"

#include <vector>

namespace velloria
{

/// Sums the tracks of a document into new ones, block by block. Cancelled, they end where the work stood;
/// nothing, with `error` filled, when a scratch file cannot be written. Main thread.
namespace Mixdown
{
/// One track: half of each track's volume, whatever its pan.
std::vector<AudioTrackPtr> toMono(const FrameSource& document, Progress& progress, MaybeError* error);
/// Two tracks, panned left and right, with pan and volume of each track applied.
std::vector<AudioTrackPtr> toStereo(const FrameSource& document, Progress& progress, MaybeError* error);
} // namespace Mixdown

} // namespace velloria
