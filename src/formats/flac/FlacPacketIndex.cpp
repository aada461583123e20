#include "formats/flac/FlacPacketIndex.h"

#include "formats/flac/FlacChecksums.h"

#include <algorithm>
#include <cstring>

namespace velloria
{

namespace
{

constexpr size_t bytesPerRead = size_t{1} << 20;
// More than any packet takes: 65535 frames of 8 channels of 32 bits, stored as they are, with their heads.
constexpr size_t longestPacket = size_t{3} << 20;
// Packets of an endless day; a file of tiny ones would take the memory of the machine.
constexpr size_t mostPackets = 16'000'000;
constexpr std::byte firstOfHead{0xFF};

/// How many bytes stand before the first one of a value; all, where there is none.
size_t numBytesBefore(std::byte value, std::span<const std::byte> bytes)
{
    const void* const found =
        bytes.empty() ? nullptr : std::memchr(bytes.data(), static_cast<int>(value), bytes.size());
    return found ? static_cast<size_t>(static_cast<const std::byte*>(found) - bytes.data()) : bytes.size();
}

} // namespace

std::optional<std::vector<SoundPacket>> FlacPacketIndex::read(const FileHandle& file, ByteRange sound,
                                                              int64_t numFrames)
{
    FlacPacketIndex index(file, sound);
    if (!index.start())
        return std::nullopt;
    while (index.findEnd()) {
    }
    // What is left is the last packet, or what was not understood.
    const int64_t end = index.mFirstFrame + index.mHead.numFrames;
    if (!index.mIsAtEnd || end != numFrames || index.mPackets.size() >= mostPackets)
        return std::nullopt;
    if (FlacChecksums::crc16(0, index.bytes()) == 0)
        index.takePacket(index.bytes().size());
    return std::move(index.mPackets);
}

/// Reads on; false where nothing is left, or the packet would be longer than any.
bool FlacPacketIndex::fill()
{
    const int64_t next = mOffset + std::ssize(bytes());
    const int64_t wanted = std::min<int64_t>(bytesPerRead, mSound.end() - next);
    if (wanted <= 0) {
        mIsAtEnd = true;
        return false;
    }
    if (bytes().size() > longestPacket)
        return false;
    mBytes.erase(mBytes.begin(), mBytes.begin() + static_cast<std::ptrdiff_t>(mBegin));
    mBegin = 0;
    const size_t size = mBytes.size();
    mBytes.resize(size + static_cast<size_t>(wanted));
    const int64_t numRead = mFile.readAt(next, std::span(mBytes).subspan(size));
    if (numRead == wanted)
        return true;
    mFile.noteMissedRead();
    return false;
}

bool FlacPacketIndex::start()
{
    mOffset = mSound.offset;
    if (!fill())
        return false;
    const auto head = FlacPacketHead::parse(mBytes);
    if (!head || head->number != 0)
        return false;
    mHead = *head;
    mPacketFrames = head->numFrames;
    return true;
}

/// Whether a head is that of the packet behind the current one.
bool FlacPacketIndex::isNextHead(const FlacPacketHead& head) const
{
    const int64_t firstFrame = mFirstFrame + mHead.numFrames;
    if (head.countsFrames != mHead.countsFrames)
        return false;
    // Where packets are counted, all but the last one are as long as the first.
    return head.countsFrames ? head.number == firstFrame
                             : mHead.numFrames == mPacketFrames && head.number == std::ssize(mPackets) + 1;
}

/// Goes on to the packet behind the current one; false when there is none.
bool FlacPacketIndex::findEnd()
{
    for (size_t place = mHead.length;; ++place) {
        place += numBytesBefore(firstOfHead, bytes().subspan(std::min(place, bytes().size())));
        if (place + FlacPacketHead::longestLength > bytes().size()) {
            if (fill()) {
                --place;
                continue;
            }
            if (!mIsAtEnd || place + 1 >= bytes().size())
                return false;
        }
        if ((static_cast<unsigned>(bytes()[place + 1]) & 0xFEU) != 0xF8)
            continue;
        mSum = FlacChecksums::crc16(mSum, bytes().subspan(mSumEnd, place - mSumEnd));
        mSumEnd = place;
        const auto head = mSum == 0 ? FlacPacketHead::parse(bytes().subspan(place)) : std::nullopt;
        if (!head || !isNextHead(*head))
            continue;
        const bool isTaken = takePacket(place);
        mHead = *head;
        return isTaken;
    }
}

bool FlacPacketIndex::takePacket(size_t end)
{
    if (mPackets.size() >= mostPackets)
        return false;
    mPackets.push_back(
        {mOffset, mFirstFrame, static_cast<int32_t>(end), static_cast<int32_t>(mHead.numFrames)});
    mFirstFrame += mHead.numFrames;
    mOffset += static_cast<int64_t>(end);
    mBegin += end;
    mSum = 0;
    mSumEnd = 0;
    return true;
}

} // namespace velloria
