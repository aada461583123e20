#include "formats/mpegframes/Mp3FrameIndex.h"

#include "formats/mpegframes/Mp3InfoEdit.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t windowBytes = int64_t{1} << 20;

/// Whether two packets can stand in one stream as we make it. Stereo and joint stereo may change from packet
/// to packet.
bool isSameStream(const MpegAudioHead& a, const MpegAudioHead& b)
{
    constexpr uint32_t commonBits = 0xFFFF0C00; // version, layer, checksum, sample rate
    const auto kind = [](const MpegAudioHead& head) { return head.mode() == 1 ? 0U : head.mode(); };
    return (a.bits & commonBits) == (b.bits & commonBits) && kind(a) == kind(b);
}

} // namespace

/// Goes along the packets, reading the file in large pieces.
class Mp3FrameIndex::Reader
{
public:
    Reader(const FileHandle& handle, ByteRange packets)
        : mHandle(handle)
        , mPackets(packets)
    {
    }

    bool read(Mp3FrameIndex& index)
    {
        int64_t offset = mPackets.offset;
        while (offset < mPackets.end()) {
            const uint8_t* bytes = bytesAt(offset, MpegAudioHead::numBytes);
            const auto head = bytes ? MpegAudioHead::read(bytes) : std::nullopt;
            if (!head || head->layer != 3 || head->mainDataBytes() < 0 ||
                offset + head->packetBytes > mPackets.end())
                return false;
            bytes = bytesAt(offset, head->bytesBeforeMainData());
            if (!bytes)
                return false;
            if (offset == mPackets.offset && takeInfoPacket(*head, index)) {
                offset += head->packetBytes;
                continue;
            }
            if (index.mOffsets.empty())
                index.mHead = *head;
            else if (!isSameStream(index.mHead, *head))
                return false;
            if (head->mode() == 1)
                index.mHead = *MpegAudioHead::of(index.mHead.bits | 1U << 6);
            index.mOffsets.push_back(offset);
            index.mReservoirs.push_back(static_cast<uint16_t>(Mp3Packet::reservoirOf(*head, bytes)));
            index.mWindows.push_back(Mp3Packet::windowsOf(*head, bytes));
            offset += head->packetBytes;
        }
        index.mOffsets.push_back(offset);
        return !index.mReservoirs.empty();
    }

private:
    /// Null where the file cannot be read any more.
    const uint8_t* bytesAt(int64_t offset, int64_t count)
    {
        if (offset < mWindowStart || offset + count > mWindowStart + mWindow.size()) {
            mWindow = mHandle.readAt(offset, std::min(windowBytes, mPackets.end() - offset));
            mWindowStart = offset;
        }
        return mWindow.size() - (offset - mWindowStart) < count
                   ? nullptr
                   : reinterpret_cast<const uint8_t*>(mWindow.constData()) + (offset - mWindowStart);
    }

    bool takeInfoPacket(const MpegAudioHead& head, Mp3FrameIndex& index) const
    {
        const QByteArray packet = mHandle.readAt(mPackets.offset, head.packetBytes);
        if (!Mp3InfoEdit::isInfoPacket(packet))
            return false;
        index.mInfoPacket = packet;
        return true;
    }

    const FileHandle& mHandle;
    const ByteRange mPackets;
    QByteArray mWindow;
    int64_t mWindowStart = 0;
};

std::shared_ptr<const Mp3FrameIndex> Mp3FrameIndex::ofFile(const FileHandle& handle, ByteRange packets)
{
    const auto index = std::make_shared<Mp3FrameIndex>();
    if (!Reader(handle, packets).read(*index))
        return nullptr;
    index->countReservoirs();
    index->readNotes();
    return index->mNumFrames > 0 ? index : nullptr;
}

/// As FFmpeg reads them, which decodes what the document holds. A count that is lower than that of the
/// packets would take frames out of their midst, so that nothing lies where it should: no frame then.
void Mp3FrameIndex::readNotes()
{
    const int64_t numInPackets = numPackets() * framesPerPacket();
    mNumFrames = numInPackets;
    const auto notes = Mp3InfoEdit::notesOf(mInfoPacket);
    if (!notes)
        return;
    mPrimingFrames = notes->delay + Mp3InfoEdit::decoderDelay;
    const int64_t end = notes->numPackets * framesPerPacket() + Mp3InfoEdit::decoderDelay - notes->padding;
    if (notes->numPackets == 0)
        mNumFrames = numInPackets - mPrimingFrames;
    else if (notes->numPackets >= numPackets())
        mNumFrames = std::min(end, numInPackets) - mPrimingFrames;
    else
        mNumFrames = 0;
}

void Mp3FrameIndex::countReservoirs()
{
    int64_t numBytesBefore = 0;
    for (int64_t i = 0; i < numPackets() && numBytesBefore < mHead.longestReservoir(); ++i) {
        if (reservoirOf(i) > numBytesBefore)
            mNumPacketsWithoutReservoir = i + 1;
        numBytesBefore += bytesOf(i) - mHead.bytesBeforeMainData();
    }
}

QByteArray Mp3FrameIndex::readReservoir(const FileHandle& handle, int64_t packet) const
{
    const int64_t wanted = reservoirOf(packet);
    QByteArray found;
    for (int64_t i = packet - 1; i >= 0 && found.size() < wanted; --i) {
        const int64_t share = bytesOf(i) - mHead.bytesBeforeMainData();
        const int64_t count = std::min<int64_t>(wanted - found.size(), share);
        found.prepend(handle.readAt(offsetOf(i + 1) - count, count));
    }
    return found.size() == wanted ? found : QByteArray();
}

uint32_t Mp3FrameIndex::bitRateIndex() const
{
    const int64_t numBytes = mOffsets.back() - mOffsets.front();
    // Padding makes up for what is lost by rounding, so the average is that of the bit rate, or just below.
    const auto average = static_cast<double>(numBytes) / static_cast<double>(numPackets());
    uint32_t index = 1;
    while (index < MpegAudioHead::lastBitRateIndex &&
           static_cast<double>(mHead.withBitRateIndex(index).packetBytes) + 1.0 < average)
        ++index;
    return index;
}

} // namespace velloria
