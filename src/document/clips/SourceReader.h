#pragma once

#include "document/clips/SampleSource.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace velloria
{

/// Reads frames of an opened file in place and hands out some of its channels as floats.
namespace SourceReader
{

/// Which channel of the file, and where its floats go.
struct Channel {
    int64_t index;
    float* out;
};

/// Frames `frame` .. `frame` + `numFrames` - 1, which are read once for all channels. Gives the number of
/// frames that the source had in a format that can be read; what lies beyond is left as it was. Any thread.
size_t read(const SampleSource& source, int64_t frame, std::span<const Channel> channels, size_t numFrames);

} // namespace SourceReader

} // namespace velloria
