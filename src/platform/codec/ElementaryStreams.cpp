#include "platform/codec/ElementaryStreams.h"

#include "platform/codec/MpegAudioHead.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria::ElementaryStreams
{

namespace
{

constexpr int64_t kMaxJunkBytes = int64_t{1} << 20;
// How many heads in a row are proof. By chance, two turn up in some megabytes, three in some terabytes.
constexpr int kNumHeadsInRow = 3;

/// What all heads of a stream have in common, and how long the packet of this one is.
struct Head {
    uint32_t kind = 0;
    int64_t packetBytes = 0;
    /// All of it, of MPEG audio.
    uint32_t bits = 0;
};

std::optional<Head> mpegHead(const uint8_t* bytes)
{
    const auto head = MpegAudioHead::read(bytes);
    if (!head)
        return std::nullopt;
    constexpr uint32_t commonBits = 0xFFFE0C00; // version, layer, sample rate
    return Head{head->bits & commonBits, head->packetBytes, head->bits};
}

std::optional<Head> adtsHead(const uint8_t* bytes)
{
    constexpr int64_t shortestPacket = 7;
    const uint32_t head = bigEndian32(bytes);
    const int64_t packetBytes = bigEndian32(bytes + 2) >> 5 & 0x1FFF;
    const bool isSynchronised = head >> 20 == 0xFFF && (head >> 17 & 3) == 0;
    const bool hasSampleRate = (head >> 10 & 15) < 13;
    if (!isSynchronised || !hasSampleRate || packetBytes < shortestPacket)
        return std::nullopt;
    constexpr uint32_t commonBits = 0xFFFFFDC0; // all but "private" and what follows the channels
    return Head{head & commonBits, packetBytes, 0};
}

using HeadReader = std::optional<Head> (*)(const uint8_t*);
constexpr int64_t kHeadBytes = 6;

bool isTrailingTag(const QByteArray& bytes)
{
    return bytes.startsWith("TAG") || bytes.startsWith("APETAG") || bytes.startsWith("LYRICS") ||
           bytes.startsWith("ID3");
}

/// The number of heads in a row from `offset` on, up to as many as are proof; 0 when they are none. Fewer do
/// where the file, or its sound, ends; a single one then must be that of a whole packet.
int numHeadsInRowAt(const FileHandle& handle, int64_t offset, HeadReader headOf)
{
    const int64_t length = handle.length();
    uint32_t kind = 0;
    for (int i = 0; i < kNumHeadsInRow; ++i) {
        const QByteArray bytes = handle.readAt(offset, kHeadBytes);
        if (i > 0 && (bytes.size() < kHeadBytes || isTrailingTag(bytes)))
            return i > 1 || offset <= length ? i : 0;
        if (bytes.size() < kHeadBytes)
            return 0;
        const auto head = headOf(reinterpret_cast<const uint8_t*>(bytes.constData()));
        if (!head || (i > 0 && head->kind != kind))
            return 0;
        kind = head->kind;
        offset += head->packetBytes;
    }
    return kNumHeadsInRow;
}

/// Goes along the heads of a stream, reading the file in large pieces.
class StretchFinder
{
public:
    StretchFinder(const FileHandle& handle, int64_t end, bool isMpegAudio)
        : mHandle(handle)
        , mEnd(end)
        , mHeadOf(isMpegAudio ? mpegHead : adtsHead)
    {
    }

    std::vector<Stretch> find(int64_t offset)
    {
        while (offset < mEnd) {
            const auto head = headAt(offset);
            if (!head) {
                const int64_t next = nextHead(offset + 1);
                add(Stretch::Kind::other, offset, next);
                offset = next;
                continue;
            }
            mKind = head->kind;
            note(head->bits);
            const int64_t next = offset + head->packetBytes;
            add(next <= mEnd ? Stretch::Kind::packets : Stretch::Kind::cutPacket, offset,
                std::min(next, mEnd));
            offset = next;
        }
        return std::move(mStretches);
    }

    const MpegPacketTraits& traits() const { return mTraits; }

private:
    /// ISO 11172-3, 2.4.1.3.
    void note(uint32_t head)
    {
        const auto bit = [head](int place) { return (head >> place & 1) != 0; };
        const auto bitRate = [](uint32_t bits) { return bits >> 12 & 15; };
        if (mNumPackets == 1)
            mTraits = {};
        mTraits.hasVariableBitRate |= mNumPackets > 1 && bitRate(head) != bitRate(mLastHead);
        mTraits.hasIndependentChannels |= (head >> 6 & 3) == 2;
        mTraits.hasChecksums |= !bit(16);
        mTraits.isPrivate |= bit(8);
        mTraits.isCopyrighted |= bit(3);
        mTraits.isCopy |= !bit(2);
        mLastHead = head;
        ++mNumPackets;
    }

    /// The head of a packet of this stream.
    std::optional<Head> headAt(int64_t offset)
    {
        if (offset + kHeadBytes > mEnd)
            return std::nullopt;
        if (offset < mWindowStart || offset + kHeadBytes > mWindowStart + mWindow.size()) {
            mWindow = mHandle.readAt(offset, std::min(kMaxJunkBytes, mEnd - offset));
            mWindowStart = offset;
            if (mWindow.size() < kHeadBytes)
                return std::nullopt;
        }
        const auto head =
            mHeadOf(reinterpret_cast<const uint8_t*>(mWindow.constData()) + (offset - mWindowStart));
        const bool isOfStream = head && (mKind == 0 || head->kind == mKind);
        return isOfStream ? head : std::nullopt;
    }

    /// Where a packet begins that another one follows, or the end.
    int64_t nextHead(int64_t offset)
    {
        for (; offset < mEnd; ++offset) {
            const auto head = headAt(offset);
            const int64_t next = head ? offset + head->packetBytes : 0;
            if (head && (next == mEnd || (next < mEnd && headAt(next))))
                return offset;
        }
        return mEnd;
    }

    void add(Stretch::Kind kind, int64_t offset, int64_t end)
    {
        if (mStretches.empty() || mStretches.back().kind != kind)
            mStretches.push_back({kind, offset, 0});
        mStretches.back().length = end - mStretches.back().offset;
    }

    const FileHandle& mHandle;
    int64_t mEnd;
    HeadReader mHeadOf;
    // Of the packets so far, 0 before the first; a kind is never 0, because it has the bits of the sync word.
    uint32_t mKind = 0;
    QByteArray mWindow;
    int64_t mWindowStart = 0;
    int64_t mNumPackets = 0;
    uint32_t mLastHead = 0;
    MpegPacketTraits mTraits;
    std::vector<Stretch> mStretches;
};

} // namespace

int64_t lengthOfLeadingTags(const FileHandle& handle)
{
    constexpr int64_t headerBytes = 10;
    int64_t offset = 0;
    for (int i = 0; i < 16; ++i) {
        const QByteArray header = handle.readAt(offset, headerBytes);
        if (header.size() < headerBytes || !header.startsWith("ID3"))
            break;
        int64_t size = 0;
        for (int k = 6; k < 10; ++k)
            size = (size << 7) | (header[k] & 0x7F);
        // A tag of version 2.4 may end with a footer of the same length.
        const bool hasFooter = header[3] == 4 && (header[5] & 0x10);
        offset += size + headerBytes * (hasFooter ? 2 : 1);
    }
    return offset;
}

std::optional<MpegAudioStart> startOfMpegAudio(const FileHandle& handle)
{
    // A tag that claims more than there is may still be followed by sound.
    const int64_t behindTags = lengthOfLeadingTags(handle);
    const int64_t start = behindTags < handle.length() ? behindTags : 0;
    const QByteArray bytes = handle.readAt(start, kMaxJunkBytes);
    const auto* const data = reinterpret_cast<const uint8_t*>(bytes.constData());
    for (int64_t i = 0; i + kHeadBytes <= bytes.size(); ++i) {
        if (data[i] != 0xFF || !mpegHead(data + i))
            continue;
        if (const int numHeads = numHeadsInRowAt(handle, start + i, mpegHead))
            return MpegAudioStart{start + i, numHeads < kNumHeadsInRow};
    }
    return std::nullopt;
}

std::optional<int64_t> bytesOfPacket(const QByteArray& head, bool isMpegAudio)
{
    if (head.size() < kHeadBytes)
        return std::nullopt;
    const HeadReader headOf = isMpegAudio ? mpegHead : adtsHead;
    const auto parsed = headOf(reinterpret_cast<const uint8_t*>(head.constData()));
    return parsed ? std::optional(parsed->packetBytes) : std::nullopt;
}

std::optional<int64_t> numMpegPacketsTold(const FileHandle& handle)
{
    // Behind the head, where other packets have side information and sound: a name, flags, the count.
    constexpr int64_t longestStart = 64;
    constexpr uint8_t hasCount = 1;
    const auto start = startOfMpegAudio(handle);
    const QByteArray bytes = handle.readAt(start ? start->offset : 0, longestStart);
    const qsizetype at = std::max(bytes.indexOf("Xing"), bytes.indexOf("Info"));
    if (!start || at < 0 || at + 12 > bytes.size() || !(bytes[at + 7] & hasCount))
        return std::nullopt;
    return bigEndian32(reinterpret_cast<const uint8_t*>(bytes.constData()) + at + 8);
}

QByteArray emptyLayer3Packet(int sampleRate, bool isMono, int64_t bitRate, int64_t numBytes)
{
    constexpr std::array<uint32_t, 3> versions = {3, 2, 0}; // 1, 2 and 2.5
    constexpr uint32_t numSampleRates = 3;
    for (const uint32_t version : versions) {
        for (uint32_t rateIndex = 0; rateIndex < numSampleRates; ++rateIndex) {
            for (uint32_t index = 1; index <= MpegAudioHead::lastBitRateIndex; ++index) {
                // Layer III, no checksum, original; one channel, or two in joint stereo.
                const auto head = MpegAudioHead::of(0xFFE30004 | version << 19 | index << 12 |
                                                    rateIndex << 10 | (isMono ? 3U : 1U) << 6);
                if (!head || head->sampleRate != sampleRate || head->bitRate < bitRate ||
                    head->packetBytes < numBytes)
                    continue;
                QByteArray packet(head->packetBytes, '\0');
                qToBigEndian(head->bits, packet.data());
                return packet;
            }
        }
    }
    return {};
}

std::vector<Stretch> stretches(const FileHandle& handle, int64_t start, int64_t end, bool isMpegAudio,
                               MpegPacketTraits* traits)
{
    StretchFinder finder(handle, end, isMpegAudio);
    std::vector<Stretch> found = finder.find(start);
    if (traits)
        *traits = finder.traits();
    return found;
}

bool isAdts(const FileHandle& handle)
{
    return numHeadsInRowAt(handle, lengthOfLeadingTags(handle), adtsHead) > 0;
}

} // namespace velloria::ElementaryStreams
