#include "platform/codec/Mp3InfoPacket.h"

#include "platform/codec/ElementaryStreams.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

constexpr int64_t kHeadBytes = 4;
constexpr int64_t kInfoBytes = 120;
constexpr int64_t kExtensionBytes = 36;
constexpr int kLowestRateOfVersion1 = 32000;

/// Where sound has what its decoder needs to know of it; zeros there are silence.
int64_t sideInfoBytes(int sampleRate, bool isMono)
{
    if (sampleRate >= kLowestRateOfVersion1)
        return isMono ? 17 : 32;
    return isMono ? 9 : 17;
}

void append(QByteArray& bytes, int64_t value, int numBytes)
{
    for (int i = numBytes - 1; i >= 0; --i)
        bytes.append(static_cast<char>(value >> (8 * i)));
}

// Bytes that are summed at once.
constexpr size_t kSlices = 8;
using ChecksumTable = std::array<uint16_t, 256>;

/// What each value of a byte adds to the sum with 0 to 7 bytes behind it.
constexpr std::array<ChecksumTable, kSlices> checksumTables()
{
    std::array<ChecksumTable, kSlices> tables = {};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned sum = i;
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum & 1U) ? (sum >> 1) ^ 0xA001U : sum >> 1;
        tables[0][i] = static_cast<uint16_t>(sum);
    }
    for (size_t k = 1; k < kSlices; ++k) {
        for (size_t i = 0; i < 256; ++i)
            tables[k][i] = static_cast<uint16_t>(tables[k - 1][i] >> 8 ^ tables[0][tables[k - 1][i] & 0xFF]);
    }
    return tables;
}

/// How the rate of the sound before it was encoded is told.
int sourceRateCode(int rate)
{
    if (rate <= 32000)
        return 0;
    return rate <= 44100 ? 1 : rate <= 48000 ? 2 : 3;
}

} // namespace

uint16_t Mp3InfoPacket::checksumOf(std::span<const std::byte> bytes, uint16_t sum)
{
    static constexpr std::array tables = checksumTables();
    const auto* at = reinterpret_cast<const uint8_t*>(bytes.data());
    const uint8_t* const end = at + bytes.size();
    for (; end - at >= static_cast<std::ptrdiff_t>(kSlices); at += kSlices) {
        unsigned slices = tables[7][at[0] ^ (sum & 0xFFU)] ^ tables[6][at[1] ^ (sum >> 8U)];
        for (size_t k = 2; k < kSlices; ++k)
            slices ^= tables[kSlices - 1 - k][at[k]];
        sum = static_cast<uint16_t>(slices);
    }
    for (; at < end; ++at)
        sum = static_cast<uint16_t>(sum >> 8 ^ tables[0][(sum ^ *at) & 0xFF]);
    return sum;
}

QByteArray Mp3InfoPacket::bytes() const
{
    const int64_t start = kHeadBytes + sideInfoBytes(sampleRate, isMono);
    QByteArray packet = ElementaryStreams::emptyLayer3Packet(sampleRate, isMono, bitRate,
                                                             start + kInfoBytes + kExtensionBytes);
    if (packet.isEmpty())
        return packet;
    const int64_t allBytes = numBytes + packet.size();
    QByteArray info("Info\0\0\0\x0F", 8); // everything up to the quality is there
    append(info, numPackets, 4);
    append(info, allBytes, 4);
    for (int i = 0; i < 100; ++i)
        append(info, seekTable ? (*seekTable)[static_cast<size_t>(i)] : i * 256 / 100, 1);
    append(info, 50, 4); // quality, of 100: LAME's default
    info += encoder.first(std::min<qsizetype>(9, encoder.size())).leftJustified(9, '\0');
    append(info, 1, 1); // constant bit rate
    append(info, std::clamp(lowpass / 100, 0, 255), 1);
    info.append(9, '\0'); // peak and loudness are not known, no special curve of hearing
    append(info, std::min<int64_t>(bitRate / 1000, 255), 1);
    append(info, std::clamp<int64_t>(delay, 0, 4095) << 12 | std::clamp<int64_t>(padding, 0, 4095), 3);
    append(info, sourceRateCode(inputRate) << 6 | (isMono ? 0 : 3) << 2, 1);
    info.append(3, '\0'); // not made louder, no preset
    append(info, allBytes, 4);
    append(info, checksum, 2);
    packet.replace(start, info.size(), info);
    const auto summed =
        std::as_bytes(std::span(packet.constData(), static_cast<size_t>(start + info.size())));
    QByteArray sum;
    append(sum, Mp3InfoPacket::checksumOf(summed), 2);
    packet.replace(start + info.size(), sum.size(), sum);
    return packet;
}

} // namespace velloria
