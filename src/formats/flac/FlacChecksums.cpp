#include "formats/flac/FlacChecksums.h"

#include <array>

namespace velloria::FlacChecksums
{

namespace
{

constexpr unsigned polynomial8 = 0x07;
constexpr unsigned polynomial16 = 0x8005;
// Bytes taken at a time: one by one the sum of an hour of music would take seconds.
constexpr size_t stride = 8;

constexpr auto table8 = [] {
    std::array<uint8_t, 256> table{};
    for (unsigned i = 0; i < table.size(); ++i) {
        unsigned sum = i;
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum << 1) ^ ((sum & 0x80U) != 0 ? polynomial8 : 0);
        table[i] = static_cast<uint8_t>(sum);
    }
    return table;
}();

/// tables16[k][i] is the sum of byte i with k zeros behind it.
constexpr auto tables16 = [] {
    std::array<std::array<uint16_t, 256>, stride> tables{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned sum = i << 8;
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum << 1) ^ ((sum & 0x8000U) != 0 ? polynomial16 : 0);
        tables[0][i] = static_cast<uint16_t>(sum);
    }
    for (size_t k = 1; k < stride; ++k)
        for (size_t i = 0; i < 256; ++i) {
            const unsigned before = tables[k - 1][i];
            tables[k][i] = static_cast<uint16_t>((before << 8) ^ tables[0][before >> 8]);
        }
    return tables;
}();

} // namespace

uint8_t crc8(std::span<const std::byte> bytes)
{
    uint8_t sum = 0;
    for (const std::byte byte : bytes)
        sum = table8[sum ^ static_cast<uint8_t>(byte)];
    return sum;
}

uint16_t crc16(uint16_t before, std::span<const std::byte> bytes)
{
    unsigned sum = before;
    const std::byte* in = bytes.data();
    size_t numLeft = bytes.size();
    const auto next = [&in](size_t i) { return static_cast<uint8_t>(in[i]); };
    for (; numLeft >= stride; numLeft -= stride, in += stride) {
        unsigned mixed = tables16[7][(sum >> 8) ^ next(0)] ^ tables16[6][(sum & 0xFFU) ^ next(1)];
        for (size_t i = 2; i < stride; ++i)
            mixed ^= tables16[stride - 1 - i][next(i)];
        sum = mixed;
    }
    for (; numLeft > 0; --numLeft, ++in)
        sum = ((sum << 8) & 0xFFFFU) ^ tables16[0][(sum >> 8) ^ next(0)];
    return static_cast<uint16_t>(sum);
}

} // namespace velloria::FlacChecksums
