#include "platform/codec/LinearPcm.h"

#include <bit>
#include <cstring>

namespace velloria
{

namespace
{

template <typename Word> Word loadWord(const std::byte* from)
{
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

uint16_t swapped(uint16_t word)
{
    return __builtin_bswap16(word);
}
uint32_t swapped(uint32_t word)
{
    return __builtin_bswap32(word);
}
uint64_t swapped(uint64_t word)
{
    return __builtin_bswap64(word);
}

template <typename Word, bool isSwapped> Word loadOrdered(const std::byte* from)
{
    const Word word = loadWord<Word>(from);
    return isSwapped ? swapped(word) : word;
}

/// The 8 bits of a sample of 1 byte as a float.
struct Load8 {
    static constexpr int64_t kBytes = 1;
    uint32_t signFlip;
    float operator()(const std::byte* from) const
    {
        const auto stored = static_cast<uint8_t>(*from) ^ signFlip;
        return static_cast<float>(static_cast<int8_t>(stored)) * 0x1p-7F;
    }
};

template <bool isSwapped> struct Load16 {
    static constexpr int64_t kBytes = 2;
    uint32_t signFlip;
    float operator()(const std::byte* from) const
    {
        const auto stored = static_cast<uint16_t>(loadOrdered<uint16_t, isSwapped>(from) ^ signFlip);
        return static_cast<float>(static_cast<int16_t>(stored)) * 0x1p-15F;
    }
};

template <bool isBigEndian> struct Load24 {
    static constexpr int64_t kBytes = 3;
    uint32_t signFlip;
    float operator()(const std::byte* from) const
    {
        const auto byteAt = [from](int index) {
            return static_cast<uint32_t>(from[isBigEndian ? 2 - index : index]);
        };
        const uint32_t stored = (byteAt(0) << 8 | byteAt(1) << 16 | byteAt(2) << 24) ^ signFlip;
        return static_cast<float>(static_cast<int32_t>(stored) >> 8) * 0x1p-23F;
    }
};

template <bool isSwapped> struct Load32 {
    static constexpr int64_t kBytes = 4;
    uint32_t signFlip;
    float operator()(const std::byte* from) const
    {
        const uint32_t stored = loadOrdered<uint32_t, isSwapped>(from) ^ signFlip;
        return static_cast<float>(static_cast<int32_t>(stored)) * 0x1p-31F;
    }
};

template <bool isSwapped> struct LoadFloat {
    static constexpr int64_t kBytes = 4;
    float operator()(const std::byte* from) const
    {
        return std::bit_cast<float>(loadOrdered<uint32_t, isSwapped>(from));
    }
};

template <bool isSwapped> struct LoadDouble {
    static constexpr int64_t kBytes = 8;
    float operator()(const std::byte* from) const
    {
        return static_cast<float>(std::bit_cast<double>(loadOrdered<uint64_t, isSwapped>(from)));
    }
};

// The loops for one and two channels have a stride that the compiler knows, so that it can use vectors.
template <typename Load>
void convert(const std::byte* in, const Load& load, int64_t numFrames, std::span<float* const> channels)
{
    const auto numChannels = static_cast<int64_t>(channels.size());
    if (numChannels == 1) {
        float* const out = channels[0];
        for (int64_t i = 0; i < numFrames; ++i)
            out[i] = load(in + i * Load::kBytes);
        return;
    }
    if (numChannels == 2) {
        float* __restrict const left = channels[0];
        float* __restrict const right = channels[1];
        for (int64_t i = 0; i < numFrames; ++i) {
            left[i] = load(in + 2 * i * Load::kBytes);
            right[i] = load(in + (2 * i + 1) * Load::kBytes);
        }
        return;
    }
    for (int64_t c = 0; c < numChannels; ++c) {
        float* const out = channels[static_cast<size_t>(c)];
        for (int64_t i = 0; i < numFrames; ++i)
            out[i] = load(in + (i * numChannels + c) * Load::kBytes);
    }
}

void convertIntegers(const std::byte* in, const LinearPcmLayout& layout, int64_t numFrames,
                     std::span<float* const> channels)
{
    const bool isBigEndian = layout.isBigEndian;
    const auto flipOf = [&layout](uint32_t signBit) { return layout.isSigned ? 0 : signBit; };
    switch (layout.bytesPerSample) {
    case 1:
        return convert(in, Load8{flipOf(0x80)}, numFrames, channels);
    case 2:
        return isBigEndian ? convert(in, Load16<true>{flipOf(0x8000)}, numFrames, channels)
                           : convert(in, Load16<false>{flipOf(0x8000)}, numFrames, channels);
    case 3:
        return isBigEndian ? convert(in, Load24<true>{flipOf(0x80000000)}, numFrames, channels)
                           : convert(in, Load24<false>{flipOf(0x80000000)}, numFrames, channels);
    default:
        return isBigEndian ? convert(in, Load32<true>{flipOf(0x80000000)}, numFrames, channels)
                           : convert(in, Load32<false>{flipOf(0x80000000)}, numFrames, channels);
    }
}

} // namespace

static_assert(std::endian::native == std::endian::little,
              "Big-endian samples are the ones that are swapped.");

void linearPcmToFloats(std::span<const std::byte> in, const LinearPcmLayout& layout, int64_t numFrames,
                       std::span<float* const> channels)
{
    if (!layout.isFloat)
        return convertIntegers(in.data(), layout, numFrames, channels);
    if (layout.bytesPerSample == 4)
        return layout.isBigEndian ? convert(in.data(), LoadFloat<true>{}, numFrames, channels)
                                  : convert(in.data(), LoadFloat<false>{}, numFrames, channels);
    return layout.isBigEndian ? convert(in.data(), LoadDouble<true>{}, numFrames, channels)
                              : convert(in.data(), LoadDouble<false>{}, numFrames, channels);
}

} // namespace velloria
