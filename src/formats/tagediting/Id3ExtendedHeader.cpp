#include "formats/tagediting/Id3ExtendedHeader.h"

#include "formats/tags/Id3FrameMaker.h"

#include <QtEndian>
#include <array>

namespace velloria
{

namespace
{

// Layouts: sections 3.2 of "ID3 tag version 2.3.0" and of "2.4.0-structure" at https://id3.org
constexpr qsizetype version3Length = 10;
constexpr qsizetype version3LengthWithSum = 14;
constexpr uint8_t version3HasSum = 0x80;
constexpr qsizetype version4Length = 6;
constexpr uint8_t version4IsUpdate = 0x40;
constexpr uint8_t version4HasSum = 0x20;
constexpr qsizetype version4SumLength = 5;

/// CRC-32 as ISO 3309 has it.
class Sum
{
public:
    void add(QByteArrayView bytes)
    {
        for (const char byte : bytes)
            mValue = table()[(mValue ^ static_cast<uint8_t>(byte)) & 0xFF] ^ (mValue >> 8);
    }
    uint32_t value() const { return ~mValue; }

private:
    static const std::array<uint32_t, 256>& table()
    {
        static const std::array<uint32_t, 256> entries = [] {
            std::array<uint32_t, 256> made{};
            for (uint32_t i = 0; i < made.size(); ++i) {
                uint32_t entry = i;
                for (int bit = 0; bit < 8; ++bit)
                    entry = (entry & 1) != 0 ? 0xEDB88320 ^ (entry >> 1) : entry >> 1;
                made[i] = entry;
            }
            return made;
        }();
        return entries;
    }

    uint32_t mValue = 0xFFFFFFFF;
};

uint8_t byteAt(const QByteArray& bytes, qsizetype offset)
{
    return static_cast<uint8_t>(bytes[offset]);
}

/// The sum is that of the frames alone, before they are unsynchronised.
QByteArray version3Header(QByteArray header, QByteArrayView frames, qsizetype paddingLength)
{
    const qsizetype length = header.size();
    if ((length != version3Length && length != version3LengthWithSum) ||
        qFromBigEndian<quint32>(header.constData()) != static_cast<quint32>(length - 4))
        return header;
    qToBigEndian(static_cast<quint32>(paddingLength), header.data() + 6);
    if (length == version3LengthWithSum && (byteAt(header, 4) & version3HasSum) != 0) {
        Sum sum;
        sum.add(frames);
        qToBigEndian(sum.value(), header.data() + version3Length);
    }
    return header;
}

/// The sum is that of the frames and the padding.
QByteArray version4Header(QByteArray header, QByteArrayView frames, qsizetype paddingLength)
{
    if (header.size() < version4Length || intFromSynchSafe(header) != header.size() || byteAt(header, 4) != 1)
        return header;
    const uint8_t flags = byteAt(header, 5);
    // Each flag has its data, in front of which stands their length.
    const qsizetype offset = version4Length + ((flags & version4IsUpdate) != 0 ? 1 : 0);
    if ((flags & version4HasSum) == 0 || header.size() < offset + 1 + version4SumLength ||
        byteAt(header, offset) != version4SumLength)
        return header;
    Sum sum;
    sum.add(frames);
    sum.add(QByteArray(paddingLength, '\0'));
    for (qsizetype i = 0; i < version4SumLength; ++i)
        header[offset + 1 + i] =
            static_cast<char>((uint64_t{sum.value()} >> (7 * (version4SumLength - 1 - i))) & 0x7F);
    return header;
}

} // namespace

QByteArray id3ExtendedHeader(const Id3Layout& layout, QByteArrayView stored, QByteArrayView frames,
                             qsizetype paddingLength)
{
    if (stored.isEmpty())
        return {};
    if (layout.version() == 4)
        return version4Header(stored.toByteArray(), frames, paddingLength);
    if (!layout.isUnsynchronised())
        return version3Header(stored.toByteArray(), frames, paddingLength);
    return withId3Unsynchronisation(
        version3Header(unsynchronizeData(stored), unsynchronizeData(frames), paddingLength));
}

} // namespace velloria
