#include "formats/tags/Id3Writer.h"

#include "formats/tags/Id3Frames.h"
#include "formats/tags/Id3Layout.h"
#include "formats/tags/Id3Text.h"
#include "platform/Log.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

const QString programName = QStringLiteral("Velloria");
constexpr qsizetype headerLength = 10;
constexpr qsizetype frameHeaderLength = 6;
constexpr qsizetype shortestTag = 256;
constexpr qsizetype largestTag = headerLength + 0xFFFFFFF; // the size field has 28 bits

/// Appends frames to a tag.
class TagBuilder
{
public:
    explicit TagBuilder(const MetadataDictionary& dictionary);
    void addFrames(const Id3Frame& frame);
    QByteArray take();

private:
    void addFrame(const Id3Frame& frame, const QByteArray& payload);
    void addText(const Id3Frame& frame, const QString& text);
    void addComment(const Id3Frame& frame, const QString& text);

    const MetadataDictionary& mDictionary;
    QByteArray mTag;
};

TagBuilder::TagBuilder(const MetadataDictionary& dictionary)
    : mDictionary(dictionary)
{
    qsizetype expectedLength = 4096;
    const QList<AttachedPicture> pictures = attachedPictures(dictionary);
    for (const AttachedPicture& picture : pictures)
        expectedLength += picture.pictureData().size() + 256;
    mTag.reserve(std::min(expectedLength, largestTag));
    mTag.append(headerLength, '\0');
}

void TagBuilder::addFrame(const Id3Frame& frame, const QByteArray& payload)
{
    if (payload.size() > id3LargestPayload || payload.size() > largestTag - frameHeaderLength - mTag.size()) {
        logLine(QStringLiteral("ID3 tag: \"%1\" of %2 bytes is too large and was left out.")
                    .arg(frame.keyString())
                    .arg(payload.size()));
        return;
    }
    const auto size = qToBigEndian(static_cast<quint32>(payload.size()));
    mTag.append(frame.version2ID.data(), static_cast<qsizetype>(frame.version2ID.size()));
    mTag.append(reinterpret_cast<const char*>(&size) + 1, 3);
    mTag.append(payload);
}

void TagBuilder::addText(const Id3Frame& frame, const QString& text)
{
    const Id3EncodedText encoded = encodeId3Text(text);
    addFrame(frame, static_cast<char>(encoded.encoding) + encoded.bytes);
}

/// The empty description between language and text ends with one byte even before UTF-16, as in all tags
/// of this kind that exist; splitId3Description() knows it, some other programs skip such a comment, which
/// id3DisplayLosses() tells.
void TagBuilder::addComment(const Id3Frame& frame, const QString& text)
{
    const Id3EncodedText encoded = encodeId3Text(text);
    addFrame(frame, static_cast<char>(encoded.encoding) + QByteArray("eng\0", 4) + encoded.bytes);
}

void TagBuilder::addFrames(const Id3Frame& frame)
{
    const auto entry = mDictionary.constFind(frame.keyString());
    if (frame.version2ID.empty() || entry == mDictionary.constEnd())
        return;
    if (frame.kind == Id3FrameKind::podcastFlag) {
        addFrame(frame, QByteArray("\0\0\0\1", 4));
        return;
    }
    if (frame.kind == Id3FrameKind::pictures) {
        const QList<AttachedPicture> pictures = attachedPictures(mDictionary);
        for (const AttachedPicture& picture : pictures)
            addFrame(frame, picture.id3v220Data());
        return;
    }
    const QString text = metadataText(*entry);
    if (text.isEmpty())
        return;
    if (frame.kind == Id3FrameKind::text)
        addText(frame, text);
    else if (frame.kind == Id3FrameKind::url)
        addFrame(frame, encodeId3Address(text));
    else
        addComment(frame, text);
}

QByteArray TagBuilder::take()
{
    if (mTag.size() < shortestTag)
        mTag.append(shortestTag - mTag.size(), '\0');
    mTag.replace(0, 4, "ID3\2");
    mTag.replace(6, 4, id3SynchSafe(static_cast<uint32_t>(mTag.size() - headerLength)));
    return std::exchange(mTag, {});
}

} // namespace

bool canBeId3Picture(const AttachedPicture& picture)
{
    // Only those near the limit are worth the copy.
    constexpr qsizetype surelySmall = id3LargestPayload / 2;
    return picture.pictureData().size() + 2 * picture.pictureDescription().size() < surelySmall ||
           picture.id3v220Data().size() <= id3LargestPayload;
}

QStringList id3DisplayLosses(const MetadataDictionary& dictionary, const MetadataDictionary& before)
{
    const bool isOurs = before.value(MetadataKey::encodingApplication).toString() == programName;
    const auto isNews = [&](const QString& key) {
        return !isOurs || metadataText(before.value(key)) != metadataText(dictionary.value(key));
    };
    QStringList losses;
    QStringList names;
    for (const Id3Frame& frame : id3Frames()) {
        const QString text = frame.kind == Id3FrameKind::comment
                                 ? metadataText(dictionary.value(frame.keyString()))
                                 : QString();
        if (encodeId3Text(text).encoding != Id3Encoding::latin1 && isNews(frame.keyString()))
            names += frame.keyString();
    }
    if (!names.isEmpty())
        losses += QStringLiteral(
                      "Other programs may not show the %1: there are letters in them that only Unicode has.")
                      .arg(names.join(QStringLiteral(" and ")));
    const QList<AttachedPicture> pictures = attachedPictures(dictionary);
    const bool hasNameless = std::any_of(pictures.begin(), pictures.end(),
                                         [](const AttachedPicture& each) { return !each.isJpegOrPng(); });
    if (hasNameless && !(isOurs && pictures == attachedPictures(before)))
        losses +=
            QStringLiteral("Other programs may not show pictures that are neither JPEG nor PNG: the tag "
                           "has no name for their format.");
    return losses;
}

QByteArray generateId3Tag(const MetadataDictionary& dictionary)
{
    if (dictionary.isEmpty())
        return {};
    MetadataDictionary complete = dictionary;
    complete.insert(MetadataKey::encodingApplication, programName);
    convertNumberDataToString(complete, MetadataKey::trackNumber);
    convertNumberDataToString(complete, MetadataKey::discNumber);
    convertGenreNumberToString(complete);

    TagBuilder builder(complete);
    for (const Id3Frame& frame : id3Frames())
        builder.addFrames(frame);
    return builder.take();
}

} // namespace velloria
