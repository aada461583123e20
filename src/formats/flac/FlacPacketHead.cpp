#include "formats/flac/FlacPacketHead.h"

#include "formats/flac/FlacChecksums.h"

namespace velloria
{

namespace
{

constexpr size_t numberOffset = 4;
constexpr size_t longestNumber = 7;
constexpr int64_t bitsBehindFirst = 0x3F;

unsigned byteAt(std::span<const std::byte> bytes, size_t offset)
{
    return static_cast<unsigned>(bytes[offset]);
}

/// Bytes of a number by the first one, which has a leading one for each; 0 for none.
size_t lengthOfNumber(unsigned first)
{
    if ((first & 0x80U) == 0)
        return 1;
    size_t length = 1;
    while (length <= longestNumber && (first & (0x80U >> length)) != 0)
        ++length;
    return length >= 2 && length <= longestNumber ? length : 0;
}

int64_t readNumber(std::span<const std::byte> bytes)
{
    if (bytes.size() == 1)
        return static_cast<int64_t>(bytes[0]);
    int64_t number = byteAt(bytes, 0) & (0x7FU >> bytes.size());
    for (const std::byte byte : bytes.subspan(1)) {
        if ((static_cast<unsigned>(byte) & 0xC0U) != 0x80U)
            return -1;
        number = number << 6 | (static_cast<int64_t>(byte) & bitsBehindFirst);
    }
    return number;
}

void appendNumber(int64_t number, std::vector<std::byte>& out)
{
    if (number < 0x80) {
        out.push_back(static_cast<std::byte>(number));
        return;
    }
    size_t length = 2;
    // Six bits in each further byte, and what the ones that tell the length leave of the first.
    while (length < longestNumber && number >> (6 * (length - 1) + 7 - length) != 0)
        ++length;
    const unsigned leadingOnes = 0xFF00U >> length & 0xFFU;
    out.push_back(static_cast<std::byte>(leadingOnes | static_cast<unsigned>(number >> (6 * (length - 1)))));
    for (size_t i = length - 1; i > 0; --i)
        out.push_back(static_cast<std::byte>(0x80 | ((number >> (6 * (i - 1))) & bitsBehindFirst)));
}

/// Bytes behind the number that a code of lengths or rates asks for.
size_t numBytesBehind(unsigned lengthCode, unsigned rateCode)
{
    const size_t forLength = lengthCode == 6 ? 1 : lengthCode == 7 ? 2 : 0;
    const size_t forRate = rateCode == 12 ? 1 : rateCode > 12 ? 2 : 0;
    return forLength + forRate;
}

int64_t framesOf(unsigned code, std::span<const std::byte> behindNumber)
{
    if (code == 1)
        return 192;
    if (code < 6)
        return int64_t{144} << code;
    if (code == 6)
        return byteAt(behindNumber, 0) + 1;
    if (code == 7)
        return (byteAt(behindNumber, 0) << 8 | byteAt(behindNumber, 1)) + 1;
    return int64_t{1} << code;
}

} // namespace

std::optional<FlacPacketHead> FlacPacketHead::parse(std::span<const std::byte> bytes)
{
    if (bytes.size() <= numberOffset || byteAt(bytes, 0) != 0xFF || (byteAt(bytes, 1) & 0xFEU) != 0xF8)
        return std::nullopt;
    const unsigned lengthCode = byteAt(bytes, 2) >> 4;
    const unsigned rateCode = byteAt(bytes, 2) & 15U;
    const unsigned channelCode = byteAt(bytes, 3) >> 4;
    const unsigned widthCode = byteAt(bytes, 3) >> 1 & 7U;
    if (lengthCode == 0 || rateCode == 15 || channelCode > 10 || widthCode == 3 ||
        (byteAt(bytes, 3) & 1U) != 0)
        return std::nullopt;
    FlacPacketHead head;
    head.countsFrames = (byteAt(bytes, 1) & 1U) != 0;
    head.numberLength = lengthOfNumber(byteAt(bytes, numberOffset));
    const size_t behindNumber = numberOffset + head.numberLength;
    const size_t sumOffset = behindNumber + numBytesBehind(lengthCode, rateCode);
    head.length = sumOffset + 1;
    if (head.numberLength == 0 || bytes.size() < head.length ||
        FlacChecksums::crc8(bytes.first(sumOffset)) != byteAt(bytes, sumOffset))
        return std::nullopt;
    head.number = readNumber(bytes.subspan(numberOffset, head.numberLength));
    head.numFrames = framesOf(lengthCode, bytes.subspan(behindNumber));
    if (head.number < 0 || head.numFrames > mostFrames)
        return std::nullopt;
    return head;
}

void FlacPacketHead::appendRenumbered(std::span<const std::byte> packet, bool countingFrames,
                                      int64_t newNumber, std::vector<std::byte>& out) const
{
    const size_t start = out.size();
    const auto append = [&out](std::span<const std::byte> bytes) {
        out.insert(out.end(), bytes.begin(), bytes.end());
    };
    append(packet.first(numberOffset));
    out[start + 1] = static_cast<std::byte>(countingFrames ? 0xF9 : 0xF8);
    appendNumber(newNumber, out);
    const size_t behindNumber = numberOffset + numberLength;
    append(packet.subspan(behindNumber, length - 1 - behindNumber));
    out.push_back(static_cast<std::byte>(FlacChecksums::crc8(std::span(out).subspan(start))));
    append(packet.subspan(length, packet.size() - length - sumLength));
    const uint16_t sum = FlacChecksums::crc16(0, std::span(out).subspan(start));
    out.push_back(static_cast<std::byte>(sum >> 8));
    out.push_back(static_cast<std::byte>(sum & 0xFF));
}

} // namespace velloria
