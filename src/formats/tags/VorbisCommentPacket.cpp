#include "formats/tags/VorbisCommentPacket.h"

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

bool tellsOfTheEncoder(const QByteArray& entry)
{
    const QByteArray key = keyOf(entry);
    return key == "encoder" || key == "encoder_options" || key == "vendor";
}

} // namespace

VorbisCommentPacket::VorbisCommentPacket(const QByteArray& bytes)
{
    QByteArrayView rest(bytes);
    const std::optional<QByteArray> vendor = takeText(rest);
    if (!vendor)
        return;
    mVendor = *vendor;
    const uint32_t count = takeNumber(rest).value_or(0);
    for (uint32_t i = 0; i < count; ++i) {
        const std::optional<QByteArray> entry = takeText(rest);
        if (!entry)
            break;
        mEntries.append(*entry);
    }
}

qsizetype VorbisCommentPacket::numPictures() const
{
    return std::ranges::count_if(mEntries, isPicture);
}

QByteArray VorbisCommentPacket::withTags(const QList<VorbisComments::Entry>& tags, bool keepsPictures) const
{
    QList<QByteArray> entries;
    std::ranges::copy_if(mEntries, std::back_inserter(entries), tellsOfTheEncoder);
    for (const VorbisComments::Entry& tag : tags)
        entries.append(tag.key + '=' + tag.value);
    if (keepsPictures)
        std::ranges::copy_if(mEntries, std::back_inserter(entries), isPicture);
    QByteArray bytes;
    appendText(bytes, mVendor);
    appendNumber(bytes, entries.size());
    for (const QByteArray& entry : entries)
        appendText(bytes, entry);
    return bytes;
}

} // namespace velloria
