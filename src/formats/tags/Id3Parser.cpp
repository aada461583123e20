#include "formats/tags/Id3Parser.h"

#include "formats/tags/AttachedPicture.h"
#include "formats/tags/Id3Frames.h"
#include "formats/tags/Id3Genres.h"
#include "formats/tags/Id3Text.h"

#include <QSet>
#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

// Layouts: "ID3 tag version 2" (2.2.0), 2.3.0 and 2.4.0-structure at https://id3.org
constexpr qsizetype version2FrameHeaderLength = 6;
constexpr qsizetype frameHeaderLength = 10;
constexpr uint8_t headerIsUnsynchronised = 0x80;
constexpr uint8_t headerIsCompressed = 0x40; // version 2.2
constexpr uint8_t headerIsExtended = 0x40;   // versions 2.3 and 2.4

/// What the second flag byte of a frame means in each version.
struct FrameFlags {
    uint8_t unreadable; // compressed or encrypted
    uint8_t hasGroup;
    uint8_t isUnsynchronised;
    uint8_t hasDataLength;
};
constexpr FrameFlags version3Flags{0x80 | 0x40, 0x20, 0, 0};
constexpr FrameFlags version4Flags{0x08 | 0x04, 0x40, 0x02, 0x01};

uint8_t byteAt(QByteArrayView bytes, qsizetype offset)
{
    return static_cast<uint8_t>(bytes[offset]);
}

int64_t uint32At(QByteArrayView bytes, qsizetype offset)
{
    return qFromBigEndian<quint32>(bytes.data() + offset);
}

/// True where four capitals or digits stand, as every frame ID is made.
bool isFrameIDAt(QByteArrayView tag, qsizetype offset)
{
    if (offset < 0 || offset + 4 > tag.size())
        return false;
    const QByteArrayView id = tag.sliced(offset, 4);
    return std::all_of(id.begin(), id.end(),
                       [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

bool isFrameOrEndAt(QByteArrayView tag, qsizetype offset)
{
    if (offset >= tag.size())
        return offset == tag.size();
    const QByteArrayView next = tag.sliced(offset, std::min<qsizetype>(4, tag.size() - offset));
    const bool isPadding = std::all_of(next.begin(), next.end(), [](char c) { return c == 0; });
    return isPadding || isFrameIDAt(tag, offset);
}

/// Gathers the values of frames. Pictures are kept aside so that thousands of them cost no more than one
/// after the other.
class FrameCollector
{
public:
    void addVersion2Frame(QByteArrayView id, QByteArrayView payload);
    void addFrame(QByteArrayView id, QByteArrayView payload);
    /// A frame that means nothing here, or that cannot be read.
    void addUnknownFrame(QByteArrayView id, QByteArrayView payload);
    MetadataDictionary take();
    const QStringList& unknownFrames() const { return mUnknownFrames; }

private:
    void addText(const Id3Frame& frame, uint8_t encoding, QByteArrayView bytes);
    void addTextFrame(const Id3Frame& frame, QByteArrayView payload);
    void addPodcastAddress(const Id3Frame& frame, QByteArrayView payload);
    void addComment(const Id3Frame& frame, QByteArrayView payload);
    void addPicture(std::optional<AttachedPicture> picture);

    MetadataDictionary mDictionary;
    QList<AttachedPicture> mPictures;
    QSet<QString> mKeysOfPlainComments;
    QStringList mUnknownFrames;
};

void FrameCollector::addText(const Id3Frame& frame, uint8_t encoding, QByteArrayView bytes)
{
    const QString text = decodeId3Text(encoding, bytes);
    if (!text.isEmpty())
        mDictionary.insert(frame.keyString(), text);
}

void FrameCollector::addTextFrame(const Id3Frame& frame, QByteArrayView payload)
{
    if (!payload.isEmpty())
        addText(frame, byteAt(payload, 0), payload.sliced(1));
}

/// The podcast's own programs write this frame (WFED) as a text with an encoding byte, others without one,
/// like every other URL frame.
void FrameCollector::addPodcastAddress(const Id3Frame& frame, QByteArrayView payload)
{
    if (!payload.isEmpty() && byteAt(payload, 0) > Id3Encoding::utf8)
        addText(frame, Id3Encoding::latin1, payload);
    else
        addTextFrame(frame, payload);
}

/// A text without a description is the one that people wrote; one with a description (which programs use
/// for data of their own) only counts as long as there is no other.
void FrameCollector::addComment(const Id3Frame& frame, QByteArrayView payload)
{
    const auto comment = decodeId3Comment(payload);
    if (!comment || comment->text.isEmpty())
        return;
    const QString key = frame.keyString();
    if (comment->description.isEmpty())
        mKeysOfPlainComments.insert(key);
    else if (mKeysOfPlainComments.contains(key))
        return;
    mDictionary.insert(key, comment->text);
}

void FrameCollector::addPicture(std::optional<AttachedPicture> picture)
{
    // No more than anybody looks at: each takes more room here than in the tag.
    constexpr qsizetype mostPictures = 10'000;
    if (picture && mPictures.size() < mostPictures)
        mPictures.append(*std::move(picture));
    else if (picture)
        addUnknownFrame("APIC", {});
}

/// Version 2.2 writes a genre of the ID3v1 list as its number in parentheses.
QString genreName(const QString& text)
{
    if (!text.startsWith(u'(') || text.size() < 2)
        return text;
    const auto number = leadingInteger(QStringView(text).sliced(1, text.size() - 2));
    const QString name = number ? nameOfGenre(*number) : QString();
    return name.isEmpty() ? text : name;
}

void FrameCollector::addVersion2Frame(QByteArrayView id, QByteArrayView payload)
{
    const Id3Frame* const frame = id3FrameWithID(id);
    if (frame == nullptr)
        return addUnknownFrame(id, payload);
    switch (frame->kind) {
    case Id3FrameKind::text:
        addTextFrame(*frame, payload);
        break;
    case Id3FrameKind::url:
        addText(*frame, Id3Encoding::latin1, payload);
        break;
    case Id3FrameKind::comment:
        addComment(*frame, payload);
        break;
    case Id3FrameKind::podcastFlag:
        mDictionary.insert(frame->keyString(), QStringLiteral("1"));
        break;
    case Id3FrameKind::pictures:
        addPicture(AttachedPicture::withID3v220Data(payload));
        break;
    }
    if (id == "TCO" && mDictionary.contains(MetadataKey::genre))
        mDictionary[MetadataKey::genre] = genreName(mDictionary[MetadataKey::genre].toString());
}

void FrameCollector::addUnknownFrame(QByteArrayView id, QByteArrayView payload)
{
    constexpr qsizetype mostFrames = 32;
    constexpr qsizetype longestDescription = 64;
    if (mUnknownFrames.size() >= mostFrames)
        return;
    QString name = QString::fromLatin1(id);
    // Frames for whatever a program likes begin with a name for it.
    const bool isDescribed = id.startsWith("TXX") || id.startsWith("WXX");
    if (const auto text = isDescribed && !payload.isEmpty()
                              ? splitId3Description(byteAt(payload, 0), payload.sliced(1))
                              : std::nullopt;
        text && !text->description.isEmpty())
        name = text->description.left(longestDescription);
    if (!mUnknownFrames.contains(name))
        mUnknownFrames.append(name);
}

void FrameCollector::addFrame(QByteArrayView id, QByteArrayView payload)
{
    const Id3Frame* const frame = id3FrameWithID(id);
    if (frame == nullptr)
        return addUnknownFrame(id, payload);
    switch (frame->kind) {
    case Id3FrameKind::text:
        addTextFrame(*frame, payload);
        break;
    case Id3FrameKind::url:
        addPodcastAddress(*frame, payload);
        break;
    case Id3FrameKind::comment:
        addComment(*frame, payload);
        break;
    case Id3FrameKind::podcastFlag:
        mDictionary.insert(frame->keyString(), QStringLiteral("1"));
        break;
    case Id3FrameKind::pictures:
        addPicture(AttachedPicture::withID3v230Data(payload));
        break;
    }
}

MetadataDictionary FrameCollector::take()
{
    if (!mPictures.isEmpty())
        mDictionary.insert(MetadataKey::attachedPictures, QVariant::fromValue(std::exchange(mPictures, {})));
    return std::exchange(mDictionary, {});
}

void parseVersion2(QByteArrayView tag, FrameCollector& collector)
{
    constexpr qsizetype shortestTag = 17;
    if (tag.size() < shortestTag)
        return;
    qsizetype offset = id3HeaderLength;
    while (offset + version2FrameHeaderLength <= tag.size()) {
        const QByteArrayView id = tag.sliced(offset, 3);
        const qsizetype size = uint32At(tag, offset + 2) & 0xFFFFFF;
        offset += version2FrameHeaderLength;
        if (id.contains('\0') || size > tag.size() - offset)
            return;
        collector.addVersion2Frame(id, tag.sliced(offset, size));
        offset += size;
    }
}

/// Where the frames begin. An extended header of version 2.3 does not count its own four size bytes, but
/// some writers do; others set the flag and write none. The first place where a frame stands is right.
qsizetype firstFrameOffset(QByteArrayView tag, bool isVersion4)
{
    if ((byteAt(tag, 5) & headerIsExtended) == 0)
        return id3HeaderLength;
    const QByteArrayView sizeBytes = tag.sliced(id3HeaderLength, 4);
    const int64_t size = isVersion4 ? intFromSynchSafe(sizeBytes) : uint32At(tag, id3HeaderLength);
    const qsizetype offset = id3HeaderLength + size;
    for (const qsizetype candidate : {offset, offset + 4, id3HeaderLength}) {
        if (isFrameIDAt(tag, candidate))
            return candidate;
    }
    return offset;
}

/// Version 2.4 stores seven bits a byte, but widespread programs stored all eight; where only the latter
/// leads to another frame, padding or the end, it is meant.
qsizetype version4FrameSize(QByteArrayView tag, qsizetype frameOffset)
{
    const qsizetype size = intFromSynchSafe(tag.sliced(frameOffset + 4, 4));
    const qsizetype plainSize = uint32At(tag, frameOffset + 4);
    const qsizetype payloadOffset = frameOffset + frameHeaderLength;
    if (size == plainSize || isFrameOrEndAt(tag, payloadOffset + size))
        return size;
    return isFrameOrEndAt(tag, payloadOffset + plainSize) ? plainSize : size;
}

/// Hands over a frame's payload without what its flags put in front of it.
void addFlaggedFrame(QByteArrayView id, QByteArrayView payload, uint8_t flags, const FrameFlags& meaning,
                     bool isUnsynchronised, FrameCollector& collector)
{
    if ((flags & meaning.unreadable) != 0)
        return collector.addUnknownFrame(id, {});
    const qsizetype prefixLength =
        ((flags & meaning.hasGroup) != 0 ? 1 : 0) + ((flags & meaning.hasDataLength) != 0 ? 4 : 0);
    payload = payload.sliced(std::min(prefixLength, payload.size()));
    if (isUnsynchronised || (flags & meaning.isUnsynchronised) != 0)
        collector.addFrame(id, unsynchronizeData(payload));
    else
        collector.addFrame(id, payload);
}

/// In version 2.4 the tag's unsynchronisation bit says that every frame is unsynchronised by itself, and
/// sizes count the bytes as stored; in 2.3 the caller has undone it for the whole tag.
void parseVersion3Or4(QByteArrayView tag, bool isVersion4, FrameCollector& collector)
{
    const bool isUnsynchronised = isVersion4 && (byteAt(tag, 5) & headerIsUnsynchronised) != 0;
    qsizetype offset = firstFrameOffset(tag, isVersion4);
    while (offset < tag.size() - frameHeaderLength) {
        const QByteArrayView id = tag.sliced(offset, 4);
        const qsizetype size = isVersion4 ? version4FrameSize(tag, offset) : uint32At(tag, offset + 4);
        const uint8_t flags = byteAt(tag, offset + 9);
        const bool isPadding = uint32At(tag, offset) == 0;
        offset += frameHeaderLength;
        if (isPadding || size > tag.size() - offset)
            return;
        addFlaggedFrame(id, tag.sliced(offset, size), flags, isVersion4 ? version4Flags : version3Flags,
                        isUnsynchronised, collector);
        offset += size;
    }
}

} // namespace

int64_t intFromSynchSafe(QByteArrayView bytes)
{
    int64_t value = 0;
    for (qsizetype i = 0; i < 4; ++i)
        value = (value << 7) + byteAt(bytes, i);
    return value;
}

QByteArray unsynchronizeData(QByteArrayView bytes)
{
    QByteArray result(bytes.size(), Qt::Uninitialized);
    char* out = result.data();
    char previous = 0;
    for (const char byte : bytes) {
        if (byte != 0 || previous != '\xFF')
            *out++ = byte;
        previous = byte;
    }
    result.truncate(out - result.data());
    return result;
}

std::optional<MetadataDictionary> parseId3Tag(QByteArrayView tag, QStringList* framesNotRead)
{
    constexpr qsizetype shortestTag = 14;
    if (tag.size() < shortestTag || !tag.startsWith("ID3"))
        return std::nullopt;
    const uint8_t version = byteAt(tag, 3);
    const uint8_t flags = byteAt(tag, 5);
    if (version < 2 || version > 4 || (version == 2 && (flags & headerIsCompressed) != 0))
        return std::nullopt;

    QByteArray resynchronised;
    if (version != 4 && (flags & headerIsUnsynchronised) != 0) {
        resynchronised = unsynchronizeData(tag);
        tag = resynchronised;
    }
    FrameCollector collector;
    if (version == 2)
        parseVersion2(tag, collector);
    else if (tag.size() >= shortestTag)
        parseVersion3Or4(tag, version == 4, collector);
    if (framesNotRead)
        *framesNotRead = collector.unknownFrames();
    return collector.take();
}

} // namespace velloria
