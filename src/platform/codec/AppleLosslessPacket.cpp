#include "platform/codec/AppleLosslessPacket.h"

#include <QtEndian>
#include <algorithm>

namespace velloria::AppleLosslessPacket
{

namespace
{

// The cookie as FFmpeg keeps it: an atom's size, its name and version, then 32 bits frames per packet, 8 bits
// each of version, sample size, three parameters of the coding and channels. What follows are limits and
// hints.
constexpr qsizetype framesOffset = 12;
constexpr qsizetype framesLength = 4;
constexpr qsizetype widthOffset = 17;
constexpr qsizetype widthToChannels = 5;
constexpr qsizetype cookieLength = 36;

} // namespace

int64_t numFrames(std::span<const uint8_t> packet, int64_t fullFrames)
{
    if (std::ssize(packet) < headBytes)
        return fullFrames;
    const auto head = qFromBigEndian<uint32_t>(packet.data());
    constexpr uint32_t hasFrameCount = 1U << 12;
    if (!(head & hasFrameCount))
        return fullFrames;
    const int64_t count =
        int64_t{head & 0x1FF} << 23 | int64_t{qFromBigEndian<uint32_t>(packet.data() + 3) & 0xFFFFFF} >> 1;
    return std::min(count, fullFrames);
}

bool areAlike(const QByteArray& cookie, const QByteArray& other)
{
    return cookie.size() == cookieLength && other.size() == cookieLength &&
           cookie.sliced(framesOffset, framesLength) == other.sliced(framesOffset, framesLength) &&
           cookie.sliced(widthOffset, widthToChannels) == other.sliced(widthOffset, widthToChannels);
}

} // namespace velloria::AppleLosslessPacket
