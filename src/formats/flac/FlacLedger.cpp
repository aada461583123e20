#include "formats/flac/FlacLedger.h"

#include "formats/flac/FlacLayout.h"
#include "formats/tagediting/TagsAround.h"

#include <FLAC/format.h>
#include <algorithm>

namespace velloria::FlacLedger
{

namespace
{

uint8_t byteAt(QByteArrayView bytes, qsizetype offset)
{
    return static_cast<uint8_t>(bytes[offset]);
}

} // namespace

QString nameOfBlock(int type, QByteArrayView firstBytes)
{
    switch (type) {
    case FLAC__METADATA_TYPE_STREAMINFO:
    case FLAC__METADATA_TYPE_PADDING:
    case FLAC__METADATA_TYPE_SEEKTABLE:
    case FLAC__METADATA_TYPE_VORBIS_COMMENT:
    case FLAC__METADATA_TYPE_PICTURE:
        return {};
    case FLAC__METADATA_TYPE_CUESHEET:
        return cueSheet;
    case FLAC__METADATA_TYPE_APPLICATION: {
        QString name;
        for (const char byte : firstBytes.first(std::min<qsizetype>(4, firstBytes.size()))) {
            if (byte >= 0x20 && byte < 0x7F)
                name += QLatin1Char(byte);
        }
        return QStringLiteral("data of an application (“%1”)").arg(name);
    }
    default:
        return QStringLiteral("metadata block of type %1").arg(type);
    }
}

FileLedger ofFile(const FileHandle& handle)
{
    FileLedger ledger;
    TagsAround::declareNotKept(TagsAround::inFront(handle), ledger);
    const FlacLayout layout = FlacLayout::ofFile(handle);
    ledger.addStructure(layout.marker);
    for (const FlacLayout::Block& block : layout.blocks) {
        constexpr int64_t applicationIdLength = 4;
        const QByteArray head = handle.readAt(block.payload().offset, applicationIdLength);
        if (const QString name = nameOfBlock(block.type, head); name.isEmpty())
            ledger.addStructure(block.bytes);
        else
            ledger.add(
                {ItemKind::part, layout.isWhole ? Keeping::asBytes : Keeping::notKept, name, block.bytes});
    }
    TagsAround::declareNotKept(TagsAround::behind(handle, layout.sound.offset), ledger);
    ledger.addInModel(layout.sound);
    return ledger;
}

std::optional<FileItem> behindSound(const FileHandle& handle, int64_t endOfSound)
{
    const auto tags = TagsAround::behind(handle, endOfSound);
    const int64_t end = tags.empty() ? handle.length() : tags.back().bytes.offset;
    constexpr int64_t mostRead = int64_t{1} << 20;
    const QByteArray rest = handle.readAt(endOfSound, std::min(mostRead, end - endOfSound));
    if (endOfSound <= 0 || std::all_of(rest.begin(), rest.end(), [](char c) { return c == 0; }))
        return std::nullopt;
    const int64_t length = end - endOfSound;
    return FileItem{ItemKind::part,
                    Keeping::withSound,
                    QStringLiteral("%1 bytes behind the sound").arg(length),
                    {endOfSound, length}};
}

bool isFrameAt(const FileHandle& handle, int64_t offset)
{
    constexpr qsizetype longestHead = 16;
    const QByteArray head = handle.readAt(offset, longestHead);
    if (head.size() < longestHead || byteAt(head, 0) != 0xFF || (byteAt(head, 1) & 0xFE) != 0xF8)
        return false;
    const int blockSize = byteAt(head, 2) >> 4;
    const int rate = byteAt(head, 2) & 15;
    const int channels = byteAt(head, 3) >> 4;
    const int width = byteAt(head, 3) >> 1 & 7;
    // Without metadata a frame must say its rate and width itself.
    if (blockSize == 0 || rate == 0 || rate == 15 || channels > 10 || width == 0 || width == 3 ||
        (byteAt(head, 3) & 1) != 0)
        return false;
    // A number in as many bytes as the first has leading ones, then what the codes leave open.
    qsizetype numNumberBytes = 1;
    for (int bit = 0x80; numNumberBytes < 7 && (byteAt(head, 4) & bit) && (byteAt(head, 4) & bit >> 1);
         bit >>= 1)
        ++numNumberBytes;
    const qsizetype end = 4 + numNumberBytes +
                          (blockSize == 6   ? 1
                           : blockSize == 7 ? 2
                                            : 0) +
                          (rate == 12  ? 1
                           : rate > 12 ? 2
                                       : 0);
    unsigned sum = 0;
    for (qsizetype i = 0; i < end; ++i) {
        sum ^= byteAt(head, i);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum & 0x80U) ? (sum << 1 ^ 0x07U) & 0xFFU : sum << 1 & 0xFFU;
    }
    return sum == byteAt(head, end);
}

} // namespace velloria::FlacLedger
