#pragma once

#include <cstddef>
#include <span>

namespace velloria
{

/// Where Vorbis keeps the channels of a layout: element c is the index in the file of the channel that tracks
/// and all other formats have at c (left, right, centre, low frequencies, ...). Up to eight channels have a
/// layout; beyond that an empty span says that the channels stay as they are.
/// See https://xiph.org/vorbis/doc/Vorbis_I_spec.html, section 4.3.9.
std::span<const size_t> vorbisChannelOrder(size_t numChannels);

/// The index in the file of channel `c`.
inline size_t vorbisChannel(size_t c, size_t numChannels)
{
    const std::span<const size_t> order = vorbisChannelOrder(numChannels);
    return order.empty() ? c : order[c];
}

} // namespace velloria
