#include "formats/vorbis/VorbisHeaders.h"

#include <array>

namespace velloria::VorbisHeaders
{

namespace
{

// Layouts: https://xiph.org/vorbis/doc/Vorbis_I_spec.html, 4.2
constexpr qsizetype numHeaders = 3;
constexpr qsizetype nameLength = 7;
const QByteArray commentsName = QByteArrayLiteral("\x03vorbis");
constexpr char framingBit = 1;

} // namespace

std::optional<OggHeaders> ofFile(const FileHandle& handle)
{
    constexpr std::array names = {"\x01vorbis", "\x03vorbis", "\x05vorbis"};
    auto headers = OggHeaders::ofFile(
        handle, [](const QList<QByteArray>& packets) { return packets.size() == numHeaders; });
    for (qsizetype i = 0; headers && i < numHeaders; ++i) {
        if (!headers->packets[i].startsWith(names[static_cast<size_t>(i)]))
            return std::nullopt;
    }
    return headers;
}

VorbisCommentPacket commentsOf(const QByteArray& packet)
{
    return VorbisCommentPacket(packet.mid(nameLength));
}

QByteArray packetOf(const VorbisCommentPacket& comments)
{
    const QByteArray bytes = comments.bytes();
    // Of comments that nobody changed, what stands behind them is there still.
    return commentsName + bytes + (comments.isAsRead() ? QByteArray() : QByteArray(1, framingBit));
}

} // namespace velloria::VorbisHeaders
