#include "formats/mpegframes/Mp3Packet.h"

#include <QtEndian>
#include <algorithm>

namespace velloria::Mp3Packet
{

namespace
{

constexpr int64_t checksumBytes = 2;
// Bit rate, padding, and the kind of joint stereo.
constexpr uint32_t ownBits = 0xFU << 12 | 1U << 9 | 3U << 4;

const uint8_t* bytesOf(const QByteArray& bytes)
{
    return reinterpret_cast<const uint8_t*>(bytes.constData());
}

/// Where side information has the entries of its granules and channels, in bits.
struct SideInfoLayout {
    int numChannels = 2;
    int numGranules = 2;
    /// The reservoir, private bits, and which scale factors are shared, stand in front.
    int start = 0;
    int bitsPerEntry = 0;
    /// Within an entry, which begins with 12 bits for the length of its main data.
    int windowOffset = 0;

    explicit SideInfoLayout(const MpegAudioHead& head)
        : numChannels(head.isMono() ? 1 : 2)
        , numGranules(head.isVersion1() ? 2 : 1)
        , start(head.isVersion1() ? 9 + (head.isMono() ? 5 : 3) + 4 * numChannels
                                  : 8 + (head.isMono() ? 1 : 2))
        , bitsPerEntry(head.isVersion1() ? 59 : 63)
        , windowOffset(head.isVersion1() ? 33 : 38)
    {
    }
    int entry(int granule, int channel) const
    {
        return start + (granule * numChannels + channel) * bitsPerEntry;
    }
};

/// The highest bit of each byte is the first.
uint32_t bitsAt(const uint8_t* bytes, int at, int count)
{
    uint32_t value = 0;
    for (; count > 0; --count, ++at)
        value = value << 1 | (bytes[at / 8] >> (7 - at % 8) & 1U);
    return value;
}

/// By the part2_3_length of each granule and channel, in bits.
int64_t mainDataBytes(const MpegAudioHead& head, const QByteArray& sideInfo)
{
    constexpr int lengthBits = 12;
    const SideInfoLayout layout(head);
    int64_t numBits = 0;
    for (int granule = 0; granule < layout.numGranules; ++granule) {
        for (int channel = 0; channel < layout.numChannels; ++channel)
            numBits += bitsAt(bytesOf(sideInfo), layout.entry(granule, channel), lengthBits);
    }
    return (numBits + 7) / 8;
}

const uint8_t* sideInfoOf(const MpegAudioHead& head, const uint8_t* packet)
{
    return packet + MpegAudioHead::numBytes + (head.hasChecksum() ? checksumBytes : 0);
}

/// The CRC-16 of ISO 11172-3, 2.4.3.1: over the last two bytes of the head and the side information.
uint16_t checksumOf(const QByteArray& packet, int64_t sideInfoBytes)
{
    constexpr uint32_t polynomial = 0x8005;
    uint32_t sum = 0xFFFF;
    const auto add = [&sum](char byte) {
        sum ^= static_cast<uint32_t>(static_cast<uint8_t>(byte)) << 8;
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum & 0x8000) ? (sum << 1 ^ polynomial) & 0xFFFF : sum << 1 & 0xFFFF;
    };
    add(packet[2]);
    add(packet[3]);
    for (const char byte : packet.mid(MpegAudioHead::numBytes + checksumBytes, sideInfoBytes))
        add(byte);
    return static_cast<uint16_t>(sum);
}

void makeChecksumRight(QByteArray& packet, const MpegAudioHead& head)
{
    if (head.hasChecksum())
        qToBigEndian(checksumOf(packet, head.sideInfoBytes()), packet.data() + MpegAudioHead::numBytes);
}

void setReservoir(QByteArray& sideInfo, const MpegAudioHead& head, int64_t numBytes)
{
    if (!head.isVersion1()) {
        sideInfo[0] = static_cast<char>(numBytes);
        return;
    }
    sideInfo[0] = static_cast<char>(numBytes >> 1);
    sideInfo[1] = static_cast<char>((sideInfo[1] & 0x7F) | (numBytes & 1) << 7);
}

MpegAudioHead headLike(const MpegAudioHead& own, const MpegAudioHead& like)
{
    return MpegAudioHead::of((like.bits & ~ownBits) | (own.bits & ownBits)).value_or(own);
}

/// Where the main data of packets of some sizes lie, counted from the start of the first one's share.
struct Layout {
    std::vector<int64_t> shares;
    std::vector<int64_t> starts;
    int64_t endOfData = 0;
    int64_t endOfShares = 0;

    Layout(const std::vector<Contents>& contents, const std::vector<MpegAudioHead>& heads)
    {
        for (size_t i = 0; i < contents.size(); ++i) {
            shares.push_back(endOfShares);
            starts.push_back(std::max(endOfData, endOfShares - heads[i].longestReservoir()));
            endOfData = starts.back() + contents[i].mainData.size();
            endOfShares += heads[i].mainDataBytes();
            if (endOfData > endOfShares && !tooShort)
                tooShort = i;
        }
    }
    /// The first packet whose main data would go on behind its end.
    std::optional<size_t> tooShort;
};

bool grow(MpegAudioHead& head)
{
    if (head.bitRateIndex() >= MpegAudioHead::lastBitRateIndex)
        return false;
    head = head.withBitRateIndex(head.bitRateIndex() + 1);
    return true;
}

/// Finds the smallest sizes. For the sake of the reservoir the last packets grow first.
bool growUntilFitting(const std::vector<Contents>& contents, std::vector<MpegAudioHead>& heads,
                      int64_t reservoirBytes)
{
    for (;;) {
        const Layout layout(contents, heads);
        if (layout.tooShort) {
            if (!grow(heads[*layout.tooShort]))
                return false;
        } else if (layout.endOfShares - layout.endOfData >= reservoirBytes) {
            return true;
        } else if (std::none_of(heads.rbegin(), heads.rend(), grow)) {
            return false;
        }
    }
}

} // namespace

int64_t reservoirOf(const MpegAudioHead& head, const uint8_t* packet)
{
    const uint8_t* const sideInfo = sideInfoOf(head, packet);
    return head.isVersion1() ? sideInfo[0] << 1 | sideInfo[1] >> 7 : sideInfo[0];
}

Windows windowsOf(const MpegAudioHead& head, const uint8_t* packet)
{
    // Values of block_type where windows switch; 2 are short ones.
    constexpr uint32_t fromLongToShort = 1;
    constexpr uint32_t fromShortToLong = 3;
    const SideInfoLayout layout(head);
    const auto isLong = [&](int granule, int channel, uint32_t type) {
        const int at = layout.entry(granule, channel) + layout.windowOffset;
        const uint8_t* const sideInfo = sideInfoOf(head, packet);
        return bitsAt(sideInfo, at, 1) == 0 || bitsAt(sideInfo, at + 1, 2) == type;
    };
    Windows windows;
    for (int channel = 0; channel < layout.numChannels; ++channel) {
        windows.beginLong = windows.beginLong && isLong(0, channel, fromLongToShort);
        windows.endLong = windows.endLong && isLong(layout.numGranules - 1, channel, fromShortToLong);
    }
    return windows;
}

Contents contentsOf(const QByteArray& packet)
{
    const auto head = MpegAudioHead::read(bytesOf(packet));
    if (!head)
        return {};
    const int64_t start = head->bytesBeforeMainData();
    Contents contents = {*head, packet.mid(start - head->sideInfoBytes(), head->sideInfoBytes()), {}, {}};
    contents.windows = windowsOf(*head, bytesOf(packet));
    contents.mainData = packet.mid(start, mainDataBytes(*head, contents.sideInfo));
    return contents;
}

Contents silence(const MpegAudioHead& like)
{
    const MpegAudioHead head = like.withBitRateIndex(1);
    return {head, QByteArray(head.sideInfoBytes(), '\0'), {}, {}};
}

QByteArray withHeadLike(QByteArray packet, const MpegAudioHead& like)
{
    const auto own = MpegAudioHead::read(bytesOf(packet));
    if (!own)
        return packet;
    const MpegAudioHead head = headLike(*own, like);
    qToBigEndian(head.bits, packet.data());
    makeChecksumRight(packet, head);
    return packet;
}

std::vector<QByteArray> layOut(const std::vector<Contents>& contents, const MpegAudioHead& like,
                               const QByteArray& reservoir)
{
    std::vector<MpegAudioHead> heads;
    heads.reserve(contents.size());
    for (const Contents& each : contents)
        heads.push_back(headLike(each.head, like));
    if (!growUntilFitting(contents, heads, reservoir.size()))
        return {};
    const Layout layout(contents, heads);
    QByteArray mainData(layout.endOfShares, '\0');
    for (size_t i = 0; i < contents.size(); ++i)
        mainData.replace(layout.starts[i], contents[i].mainData.size(), contents[i].mainData);
    mainData.replace(layout.endOfShares - reservoir.size(), reservoir.size(), reservoir);
    std::vector<QByteArray> packets;
    for (size_t i = 0; i < contents.size(); ++i) {
        const MpegAudioHead& head = heads[i];
        QByteArray packet(MpegAudioHead::numBytes + (head.hasChecksum() ? checksumBytes : 0), '\0');
        qToBigEndian(head.bits, packet.data());
        QByteArray sideInfo = contents[i].sideInfo;
        setReservoir(sideInfo, head, layout.shares[i] - layout.starts[i]);
        packet += sideInfo;
        packet += mainData.mid(layout.shares[i], head.mainDataBytes());
        makeChecksumRight(packet, head);
        packets.push_back(packet);
    }
    return packets;
}

uint32_t bitRateIndexWithRoom(const MpegAudioHead& like, uint32_t highestIndex, int64_t numPackets)
{
    const auto room = [&like](uint32_t index) { return like.withBitRateIndex(index).mainDataBytes(); };
    const int64_t largest = numPackets * room(MpegAudioHead::lastBitRateIndex) - like.longestReservoir();
    constexpr int64_t padding = 1;
    uint32_t index = highestIndex;
    while (index > 1 && numPackets * (room(index) + padding) > largest)
        --index;
    return index;
}

} // namespace velloria::Mp3Packet
