#include "formats/flac/FlacInOgg.h"

#include <FLAC/format.h>
#include <QtEndian>
#include <algorithm>

namespace velloria::FlacInOgg
{

namespace
{

// Layout: https://www.rfc-editor.org/rfc/rfc9639#section-10.1
const QByteArray name = QByteArrayLiteral("\x7F"
                                          "FLAC\x01");
constexpr qsizetype numberOffset = 7;
constexpr qsizetype blockOffset = 13;
constexpr qsizetype firstPacketLength = 51;
constexpr char lastBlockFlag = '\x80';

FlacMetadataEdit::Block blockOf(const QByteArray& packet)
{
    return {packet[0] & ~lastBlockFlag, packet.mid(FlacLayout::Block::headerLength)};
}

} // namespace

std::optional<OggHeaders> headersOf(const FileHandle& handle)
{
    // A packet that is cut ends it, too.
    auto headers = OggHeaders::ofFile(handle, [](const QList<QByteArray>& packets) {
        const qsizetype flags = packets.size() == 1 ? blockOffset : 0;
        return packets.back().size() <= flags || (packets.back()[flags] & lastBlockFlag) != 0;
    });
    if (!headers || headers->packets.size() < 2 || !headers->packets[0].startsWith(name) ||
        headers->packets[0].size() != firstPacketLength)
        return std::nullopt;
    for (const QByteArray& packet : headers->packets.sliced(1)) {
        if (packet.size() < FlacLayout::Block::headerLength)
            return std::nullopt;
    }
    return headers;
}

FlacMetadataEdit::Blocks blocksOf(const OggHeaders& headers)
{
    FlacMetadataEdit::Blocks blocks;
    for (const QByteArray& packet : headers.packets.sliced(1))
        blocks.push_back(blockOf(packet));
    return blocks;
}

QList<QByteArray> packetsWith(const OggHeaders& headers, const FlacMetadataEdit::Blocks& blocks)
{
    QList<QByteArray> packets = {headers.packets[0]};
    for (const FlacMetadataEdit::Block& block : blocks)
        packets.append(FlacMetadataEdit::bytesOf(block, &block == &blocks.back()));
    // 0 says that nobody counted.
    char* const number = packets[0].data() + numberOffset;
    if (qFromBigEndian<quint16>(number) != 0)
        qToBigEndian(static_cast<quint16>(blocks.size()), number);
    return packets;
}

QByteArray firstPacket(const QByteArray& streamInfo, size_t numBlocks)
{
    QByteArray number(2, Qt::Uninitialized);
    qToBigEndian(static_cast<quint16>(std::min<size_t>(numBlocks, 65535)), number.data());
    return name + '\0' + number + "fLaC" +
           FlacMetadataEdit::bytesOf({FLAC__METADATA_TYPE_STREAMINFO, streamInfo}, numBlocks == 0);
}

} // namespace velloria::FlacInOgg
