#include "formats/comments/VorbisCommentPacket.h"

#include "formats/comments/PictureBlock.h"
#include "formats/comments/VorbisCommentEdit.h"

#include <QtEndian>
#include <algorithm>
#include <optional>

namespace velloria
{

namespace
{

// Layout: https://xiph.org/vorbis/doc/v-comment.html
constexpr qsizetype lengthBytes = 4;

void appendNumber(QByteArray& bytes, qsizetype number)
{
    const uint32_t littleEndian = qToLittleEndian(static_cast<uint32_t>(number));
    bytes.append(reinterpret_cast<const char*>(&littleEndian), lengthBytes);
}

void appendText(QByteArray& bytes, const QByteArray& text)
{
    appendNumber(bytes, text.size());
    bytes += text;
}

/// Takes a length or a count; nothing at the end.
std::optional<uint32_t> takeNumber(QByteArrayView& rest)
{
    if (rest.size() < lengthBytes)
        return std::nullopt;
    const auto number = qFromLittleEndian<quint32>(rest.data());
    rest = rest.sliced(lengthBytes);
    return number;
}

std::optional<QByteArray> takeText(QByteArrayView& rest)
{
    const std::optional<uint32_t> length = takeNumber(rest);
    if (!length || *length > static_cast<size_t>(rest.size()))
        return std::nullopt;
    QByteArray text = rest.first(*length).toByteArray();
    rest = rest.sliced(*length);
    return text;
}

QByteArray keyOf(const QByteArray& entry)
{
    constexpr qsizetype longestKey = 64;
    return entry.left(std::min(longestKey, entry.indexOf('='))).toLower();
}

bool isPicture(const QByteArray& entry)
{
    return keyOf(entry) == "metadata_block_picture";
}

QByteArray blockOf(const QByteArray& entry)
{
    return QByteArray::fromBase64(entry.sliced(entry.indexOf('=') + 1));
}

} // namespace

VorbisCommentPacket::VorbisCommentPacket(const QByteArray& bytes)
{
    QByteArrayView rest(bytes);
    const std::optional<QByteArray> vendor = takeText(rest);
    if (!vendor)
        return;
    mVendor = *vendor;
    mBytes = bytes;
    const uint32_t count = takeNumber(rest).value_or(0);
    for (uint32_t i = 0; i < count; ++i) {
        const std::optional<QByteArray> entry = takeText(rest);
        if (!entry)
            break;
        mEntries.append(*entry);
    }
}

void VorbisCommentPacket::setVendor(const QByteArray& vendor)
{
    if (vendor != mVendor)
        mBytes.clear();
    mVendor = vendor;
}

void VorbisCommentPacket::setEntries(const QList<QByteArray>& entries)
{
    if (entries != mEntries)
        mBytes.clear();
    mEntries = entries;
}

void VorbisCommentPacket::setTags(const MetadataDictionary& tags)
{
    setEntries(VorbisCommentEdit::withTags(mEntries, tags));
}

void VorbisCommentPacket::setEncoder(const QByteArray& name)
{
    QList<QByteArray> entries = mEntries;
    const auto found =
        std::ranges::find_if(entries, [](const QByteArray& entry) { return keyOf(entry) == "encoder"; });
    if (found != entries.end())
        *found = found->first(found->indexOf('=') + 1) + name;
    setEntries(entries);
}

QByteArray VorbisCommentPacket::bytes() const
{
    if (!mBytes.isEmpty())
        return mBytes;
    QByteArray bytes;
    appendText(bytes, mVendor);
    appendNumber(bytes, mEntries.size());
    for (const QByteArray& entry : mEntries)
        appendText(bytes, entry);
    return bytes;
}

QList<QByteArray> VorbisCommentPacket::pictureBlocks() const
{
    QList<QByteArray> blocks;
    for (const QByteArray& entry : mEntries) {
        if (!isPicture(entry))
            continue;
        if (QByteArray block = blockOf(entry); PictureBlock::pictureOf(block))
            blocks.append(std::move(block));
    }
    return blocks;
}

void VorbisCommentPacket::changePictures(std::span<const std::optional<QByteArray>> changes)
{
    QList<QByteArray> entries;
    size_t place = 0;
    for (const QByteArray& entry : mEntries) {
        const bool isPlace = isPicture(entry) && PictureBlock::pictureOf(blockOf(entry));
        const std::optional<QByteArray> change = isPlace ? changes[place++] : std::nullopt;
        if (!change)
            entries.append(entry);
        else if (!change->isEmpty())
            entries.append(entry.first(entry.indexOf('=') + 1) + change->toBase64());
    }
    for (const std::optional<QByteArray>& added : changes.subspan(place))
        entries.append("METADATA_BLOCK_PICTURE=" + added.value_or(QByteArray()).toBase64());
    setEntries(entries);
}

} // namespace velloria
