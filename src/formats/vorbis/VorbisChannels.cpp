#include "formats/vorbis/VorbisChannels.h"

#include <array>

namespace velloria
{

namespace
{

// Left, centre, right; left, centre, right, back left, back right; and so on in the files.
constexpr std::array<std::array<size_t, 8>, 8> orders = {{{0},
                                                          {0, 1},
                                                          {0, 2, 1},
                                                          {0, 1, 2, 3},
                                                          {0, 2, 1, 3, 4},
                                                          {0, 2, 1, 5, 3, 4},
                                                          {0, 2, 1, 6, 5, 3, 4},
                                                          {0, 2, 1, 7, 5, 6, 3, 4}}};

} // namespace

std::span<const size_t> vorbisChannelOrder(size_t numChannels)
{
    if (numChannels == 0 || numChannels > orders.size())
        return {};
    return std::span(orders[numChannels - 1]).first(numChannels);
}

} // namespace velloria
