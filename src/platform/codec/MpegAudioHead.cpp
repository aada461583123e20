#include "platform/codec/MpegAudioHead.h"

#include <array>

namespace velloria
{

namespace
{

// kbit/s by index (ISO 11172-3 and 13818-3, 2.4.2.3).
using BitRates = std::array<int, MpegAudioHead::lastBitRateIndex + 1>;
constexpr BitRates kRates1Layer1 = {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448};
constexpr BitRates kRates1Layer2 = {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384};
constexpr BitRates kRates1Layer3 = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
constexpr BitRates kRates2Layer1 = {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};
constexpr BitRates kRates2Layer23 = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
constexpr std::array kSampleRates = {44100, 48000, 32000};

const BitRates& bitRatesOf(bool isVersion1, int layer)
{
    if (layer == 1)
        return isVersion1 ? kRates1Layer1 : kRates2Layer1;
    if (!isVersion1)
        return kRates2Layer23;
    return layer == 2 ? kRates1Layer2 : kRates1Layer3;
}

} // namespace

std::optional<MpegAudioHead> MpegAudioHead::of(uint32_t bits)
{
    const uint32_t version = bits >> 19 & 3; // 0 is version 2.5, 1 is none, 2 is version 2, 3 is version 1
    const uint32_t sampleRateIndex = bits >> 10 & 3;
    MpegAudioHead head;
    head.bits = bits;
    head.layer = static_cast<int>(4 - (bits >> 17 & 3));
    if (bits >> 21 != 0x7FF || version == 1 || head.layer == 4 || head.bitRateIndex() == 0 ||
        head.bitRateIndex() > lastBitRateIndex || sampleRateIndex == 3)
        return std::nullopt;
    const bool isVersion1 = head.isVersion1();
    head.sampleRate = kSampleRates[sampleRateIndex] >> (isVersion1 ? 0 : version == 2 ? 1 : 2);
    head.bitRate = int64_t{1000} * bitRatesOf(isVersion1, head.layer)[head.bitRateIndex()];
    const int padding = bits >> 9 & 1;
    const int framesPerByte = head.layer == 1 ? 48 : head.layer == 3 && !isVersion1 ? 72 : 144;
    head.packetBytes = head.layer == 1 ? 4 * (12 * head.bitRate / head.sampleRate + padding)
                                       : framesPerByte * head.bitRate / head.sampleRate + padding;
    return head;
}

std::optional<MpegAudioHead> MpegAudioHead::read(const uint8_t* bytes)
{
    return of(bigEndian32(bytes));
}

MpegAudioHead MpegAudioHead::withBitRateIndex(uint32_t index) const
{
    constexpr uint32_t sizeBits = 0xFU << 12 | 1U << 9;
    return of((bits & ~sizeBits) | index << 12).value_or(*this);
}

int64_t MpegAudioHead::sideInfoBytes() const
{
    if (isVersion1())
        return isMono() ? 17 : 32;
    return isMono() ? 9 : 17;
}

} // namespace velloria
