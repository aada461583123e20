#include "formats/tags/Id3FrameMaker.h"

#include "formats/tags/Id3Writer.h"
#include "platform/Log.h"

#include <QtEndian>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr qsizetype largestPayload = 0xFFFFFFF;
constexpr uint8_t version3HasGroup = 0x20;
constexpr uint8_t version4HasGroup = 0x40;
constexpr uint8_t version4IsUnsynchronised = 0x02;

QByteArray bigEndian32(uint32_t value)
{
    const auto swapped = qToBigEndian(value);
    return QByteArray(reinterpret_cast<const char*>(&swapped), 4);
}

Id3TextForm formOfTexts(const Id3Layout& layout)
{
    for (const Id3StoredFrame& frame : layout.frames()) {
        if (frame.isUnreadable || frame.payload.size() < 2 || !frame.id.startsWith('T') ||
            frame.id.startsWith("TX"))
            continue;
        const QByteArray content = frame.content();
        const auto encoding = static_cast<uint8_t>(content[0]);
        if (encoding <= Id3Encoding::utf8)
            return Id3TextForm::ofText(encoding, QByteArrayView(content).sliced(1));
    }
    return {};
}

QByteArrayView idOf(const Id3Frame& kind, int version)
{
    const std::string_view id = version == 2 ? kind.version2ID : kind.version34ID;
    return {id.data(), static_cast<qsizetype>(id.size())};
}

} // namespace

Id3FrameMaker::Id3FrameMaker(const Id3Layout& layout)
    : mLayout(layout)
    , mForm(formOfTexts(layout))
{
}

bool Id3FrameMaker::canHold(const AttachedPicture& picture, int version)
{
    // Room for a description of any sensible length is left in the largest tags.
    constexpr qsizetype roomForTheRest = qsizetype{1} << 20;
    return version == 2 ? canBeId3Picture(picture)
                        : picture.pictureData().size() + 2 * picture.pictureDescription().size() <
                              largestPayload - roomForTheRest;
}

QByteArray Id3FrameMaker::frame(const Id3Frame& kind, const QString& text, const Id3StoredFrame* before) const
{
    const QByteArrayView id = before ? before->id : idOf(kind, mLayout.version());
    if (id.isEmpty())
        return {};
    const QByteArray content = before && !before->isUnreadable ? before->content() : QByteArray();
    const bool hasEncoding = !content.isEmpty() && static_cast<uint8_t>(content[0]) <= Id3Encoding::utf8;
    switch (kind.kind) {
    case Id3FrameKind::text:
        return data(id, id3TextPayload(text, content, mForm, mLayout.version()), before);
    case Id3FrameKind::url:
        // The podcast's own programs give it an encoding byte like a text.
        if (mLayout.version() > 2 && hasEncoding)
            return data(id, id3TextPayload(text, content, mForm, mLayout.version()), before);
        return data(id, encodeId3Address(text), before);
    case Id3FrameKind::comment:
        return data(id, id3CommentPayload(text, content, mForm, mLayout.version()), before);
    case Id3FrameKind::podcastFlag:
        return data(id, QByteArray("\0\0\0\1", 4), before);
    case Id3FrameKind::pictures:
        break;
    }
    return {};
}

QByteArray Id3FrameMaker::textInPlaceOf(const Id3StoredFrame& before, const QString& text) const
{
    const QByteArray content = before.isUnreadable ? QByteArray() : before.content();
    return data(before.id, id3TextPayload(text, content, mForm, mLayout.version()), &before);
}

QByteArray Id3FrameMaker::picture(const AttachedPicture& picture, const Id3StoredFrame* before) const
{
    return mLayout.version() == 2 ? data("PIC", picture.id3v220Data(), before)
                                  : data("APIC", picture.id3v230Data(), before);
}

QByteArray Id3FrameMaker::data(QByteArrayView id, const QByteArray& payload,
                               const Id3StoredFrame* before) const
{
    const int version = mLayout.version();
    QByteArray body = before && before->group ? *before->group + payload : payload;
    uint8_t formatFlags = body.size() == payload.size() ? 0
                          : version == 4                ? version4HasGroup
                                                        : version3HasGroup;
    if (mLayout.hasUnsynchronisedFrames()) {
        body = withId3Unsynchronisation(body);
        formatFlags |= version4IsUnsynchronised;
    }
    if (body.size() > (version == 2 ? id3LargestPayload : largestPayload)) {
        logLine(QStringLiteral("ID3 tag: %1 of %2 bytes is too large and was left out.")
                    .arg(QString::fromLatin1(id))
                    .arg(body.size()));
        return {};
    }
    const QByteArray frame = header(id, body.size(), before ? before->statusFlags : 0, formatFlags) + body;
    return mLayout.isUnsynchronised() ? withId3Unsynchronisation(frame) : frame;
}

QByteArray Id3FrameMaker::partText(QByteArrayView id, const QString& text, QByteArrayView before) const
{
    const QByteArray payload = id3TextPayload(text, before, mForm, mLayout.version());
    return header(id, payload.size(), 0, 0) + payload;
}

QByteArray Id3FrameMaker::header(QByteArrayView id, qsizetype size, uint8_t statusFlags,
                                 uint8_t formatFlags) const
{
    const auto number = static_cast<uint32_t>(size);
    if (mLayout.version() == 2)
        return id.toByteArray() + bigEndian32(number).sliced(1);
    return id.toByteArray() + (mLayout.version() == 4 ? id3SynchSafe(number) : bigEndian32(number)) +
           static_cast<char>(statusFlags) + static_cast<char>(formatFlags);
}

bool needsId3Unsynchronisation(char first, char second)
{
    return first == '\xFF' && (second == 0 || static_cast<uint8_t>(second) >= 0xE0);
}

QByteArray withId3Unsynchronisation(QByteArrayView bytes)
{
    QByteArray result;
    result.reserve(bytes.size() + bytes.size() / 64);
    for (const char byte : bytes) {
        if (!result.isEmpty() && needsId3Unsynchronisation(result.back(), byte))
            result += '\0';
        result += byte;
    }
    // What follows is not known here.
    if (result.endsWith('\xFF'))
        result += '\0';
    return result;
}

} // namespace velloria
