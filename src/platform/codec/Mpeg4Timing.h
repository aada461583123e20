#pragma once

#include "platform/FileHandle.h"
#include "platform/codec/PacketTable.h"

#include <optional>

namespace velloria
{

/// What the boxes of an MPEG-4 file say about when a track's sound begins and ends. FFmpeg applies these
/// itself or drops them; it does not tell them.
struct Mpeg4Timing {
    /// Units per second of the two times below.
    uint32_t mediaTimescale = 0;
    /// Sum of the durations of all packets; 0 when the packets are in movie fragments.
    int64_t mediaDuration = 0;
    bool isFragmented = false;
    /// The first edit that plays anything: where in the media it begins and for how long; nothing without an
    /// edit list. The length is exact to within `editTick`.
    std::optional<int64_t> editStart;
    int64_t editDuration = 0;
    int64_t editTick = 0;
};

/// Nothing when the file has no such track, or its boxes are damaged.
std::optional<Mpeg4Timing> readMpeg4Timing(const FileHandle& file, uint32_t trackID);

/// The text of an "iTunSMPB" tag: hexadecimal numbers, of which the second to fourth are priming, remainder
/// and valid frames. Nothing when it is not of that form or makes no sense.
std::optional<PacketTable> parseGaplessTag(const QByteArray& text);
/// The tag for a table, as other players read it.
QByteArray gaplessTag(const PacketTable& table);

} // namespace velloria
