#pragma once

#include <cstdint>

namespace velloria
{

/// Which of the frames that a file's packets decode to are sound: `numberOfValidFrames` behind the first
/// `primingFrames`; `remainderFrames` follow them.
struct PacketTable {
    int64_t numberOfValidFrames = 0;
    int64_t primingFrames = 0;
    int64_t remainderFrames = 0;

    friend bool operator==(const PacketTable&, const PacketTable&) = default;
};

} // namespace velloria
