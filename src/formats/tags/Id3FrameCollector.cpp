#include "formats/tags/Id3FrameCollector.h"

#include "formats/tags/AudioMetadata.h"
#include "formats/tags/Id3Chapters.h"
#include "formats/tags/Id3Genres.h"
#include "formats/tags/Id3Text.h"
#include "formats/tags/ValueChanges.h"

#include <algorithm>

namespace velloria
{

namespace
{

const QString damaged = QStringLiteral("%1 (damaged)");

uint8_t encodingOf(QByteArrayView payload)
{
    return static_cast<uint8_t>(payload[0]);
}

/// What a tag says of the file that it stands in would be wrong in another one, and is made anew.
bool tellsOfTheFileItself(const QString& key)
{
    static const QStringList keys = {QStringLiteral("file length"), QStringLiteral("file size"),
                                     QStringLiteral("file type"), MetadataKey::encodingApplication};
    return keys.contains(key);
}

/// Tables of where the packets lie and what times they have.
bool tellsOfThePackets(QByteArrayView id)
{
    return id == "MLLT" || id == "MLL" || id == "ASPI";
}

/// Version 2.2 writes a genre of the ID3v1 list as its number in parentheses, and may say more behind it.
/// "(80s) Rock" is no number.
struct Genre {
    QString name;
    /// Behind the parentheses.
    QString rest;
};
std::optional<Genre> genreByNumber(const QString& text)
{
    const qsizetype end = text.indexOf(u')');
    if (!text.startsWith(u'(') || end < 2)
        return std::nullopt;
    const QString digits = text.mid(1, end - 1);
    if (!std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; }))
        return std::nullopt;
    const QString name = nameOfGenre(leadingInteger(digits).value_or(-1));
    return name.isEmpty() ? std::nullopt : std::optional(Genre{name, text.mid(end + 1)});
}

/// Frames for whatever a program likes say what they are for, or whose they are.
QString nameOfUnknownFrame(QByteArrayView id, QByteArrayView payload)
{
    constexpr qsizetype longestName = 64;
    const QString frame = QString::fromLatin1(id);
    if ((id.startsWith("TXX") || id.startsWith("WXX")) && !payload.isEmpty()) {
        const auto text = splitId3Description(encodingOf(payload), payload.sliced(1));
        return text && !text->description.isEmpty() ? text->description.left(longestName) : frame;
    }
    const qsizetype end = id == "PRIV" || id == "UFID" ? payload.indexOf('\0') : -1;
    return end > 0 ? QStringLiteral("%1 (%2)").arg(
                         frame, QString::fromLatin1(payload.first(std::min(end, longestName))))
                   : frame;
}

/// The format of a picture as its frame names it: three letters in version 2.2, a MIME type later.
QString pictureFormat(QByteArrayView payload, bool isVersion2)
{
    constexpr qsizetype longestFormat = 32;
    if (payload.isEmpty())
        return {};
    const QByteArrayView format = payload.sliced(1);
    const qsizetype end = isVersion2 ? 3 : format.indexOf('\0');
    return QString::fromLatin1(
        format.first(std::clamp<qsizetype>(end, 0, std::min(longestFormat, format.size()))));
}

} // namespace

/// Null for a frame that the metadata knows nothing of.
const Id3Frame* Id3FrameCollector::begin(QByteArrayView id, ByteRange bytes)
{
    mId = id;
    mItems.push_back({ItemKind::tag, Keeping::inModel, {}, bytes});
    mRoles.emplace_back();
    const Id3Frame* const frame = id3FrameWithID(id);
    const bool isTold =
        frame && frame->kind != Id3FrameKind::comment && frame->kind != Id3FrameKind::pictures;
    if (isTold && AudioMetadata::dictionaryKeys().contains(frame->keyString()))
        mRoles.back().key = frame->keyString();
    return frame;
}

void Id3FrameCollector::addVersion2Frame(QByteArrayView id, QByteArrayView payload, ByteRange bytes)
{
    const Id3Frame* const frame = begin(id, bytes);
    if (frame == nullptr)
        return noteUnknown(payload);
    take(*frame, payload, true);
    if (id == "TCO" && mDictionary.contains(MetadataKey::genre))
        nameGenre();
}

void Id3FrameCollector::addFrame(QByteArrayView id, QByteArrayView payload, ByteRange bytes)
{
    const Id3Frame* const frame = begin(id, bytes);
    if (frame == nullptr)
        return noteUnknown(payload);
    take(*frame, payload, false);
}

void Id3FrameCollector::addUnreadableFrame(QByteArrayView id, ByteRange bytes)
{
    begin(id, bytes);
    noteNotInModel(QStringLiteral("%1 (compressed or encrypted)").arg(QString::fromLatin1(id)));
}

std::vector<Id3FrameRole> Id3FrameCollector::roles() const
{
    std::vector<Id3FrameRole> roles = mRoles;
    for (auto holder = mHolders.begin(); holder != mHolders.end(); ++holder)
        roles[*holder].isHolder = true;
    return roles;
}

void Id3FrameCollector::take(const Id3Frame& frame, QByteArrayView payload, bool isVersion2)
{
    switch (frame.kind) {
    case Id3FrameKind::text:
        return takeTextFrame(frame, payload);
    case Id3FrameKind::url:
        return isVersion2 ? takeText(frame, Id3Encoding::latin1, payload)
                          : takePodcastAddress(frame, payload);
    case Id3FrameKind::comment:
        return takeComment(frame, payload);
    case Id3FrameKind::podcastFlag:
        takeValue(frame.keyString(), QStringLiteral("1"));
        return;
    case Id3FrameKind::pictures:
        return takePicture(payload, isVersion2);
    }
}

/// The value of the frame under way under its key. False when the key is none of the metadata's.
bool Id3FrameCollector::takeValue(const QString& key, const QString& text)
{
    const QString previous = mDictionary.value(key).toString();
    mDictionary.insert(key, text);
    if (tellsOfTheFileItself(key))
        return false;
    if (!AudioMetadata::dictionaryKeys().contains(key)) {
        noteNotInModel(key);
        return false;
    }
    if (const auto holder = mHolders.constFind(key); holder != mHolders.constEnd() && previous != text)
        noteLoser(*holder, key, previous);
    mHolders.insert(key, mItems.size() - 1);
    mChanges.erase(key);
    return true;
}

void Id3FrameCollector::takeText(const Id3Frame& frame, uint8_t encoding, QByteArrayView bytes)
{
    if (encoding > Id3Encoding::utf8)
        return noteNotInModel(damaged.arg(QString::fromLatin1(mId)));
    const QStringList values = decodeId3Values(encoding, bytes);
    const QString text = values.join(QStringLiteral("; "));
    if (text.isEmpty() || !takeValue(frame.keyString(), text) || values.size() < 2)
        return;
    QStringList quotedValues;
    for (const QString& value : values.mid(0, 5))
        quotedValues += ValueChanges::quoted(value);
    mChanges[frame.keyString()] += ValueChanges::change(
        frame.keyString(), quotedValues.join(QStringLiteral(", ")), ValueChanges::quoted(text));
}

void Id3FrameCollector::takeTextFrame(const Id3Frame& frame, QByteArrayView payload)
{
    if (!payload.isEmpty())
        takeText(frame, encodingOf(payload), payload.sliced(1));
}

/// The podcast's own programs write this frame (WFED) as a text with an encoding byte, others without one,
/// like every other URL frame.
void Id3FrameCollector::takePodcastAddress(const Id3Frame& frame, QByteArrayView payload)
{
    if (!payload.isEmpty() && encodingOf(payload) > Id3Encoding::utf8)
        takeText(frame, Id3Encoding::latin1, payload);
    else
        takeTextFrame(frame, payload);
}

/// A text without a description is the one that people wrote; one with a description (which programs use
/// for data of their own) only counts as long as there is no other.
void Id3FrameCollector::takeComment(const Id3Frame& frame, QByteArrayView payload)
{
    const QString key = frame.keyString();
    const auto comment = decodeId3Comment(payload);
    if (!comment)
        return noteNotInModel(damaged.arg(QString::fromLatin1(mId)));
    const bool isPlain = comment->description.isEmpty();
    if (!comment->isPrivate() && (isPlain || (!comment->isTooShort && !comment->text.isEmpty())))
        mRoles.back() = {key, comment->text, false};
    if (comment->text.isEmpty())
        return;
    const QString name =
        key + u' ' +
        ValueChanges::quoted(comment->description.isEmpty() ? comment->text : comment->description);
    if (comment->isTooShort || comment->isPrivate() || (!isPlain && mKeysOfPlainComments.contains(key)))
        return noteNotInModel(name);
    takeValue(key, comment->text);
    if (isPlain)
        mKeysOfPlainComments.insert(key);
    else
        mChanges[key] += QStringLiteral("%1 loses its description").arg(name);
    if (comment->language != QLatin1String("eng"))
        mChanges[key] +=
            ValueChanges::change(QStringLiteral("language of %1").arg(key),
                                 ValueChanges::quoted(comment->language), QStringLiteral("“eng”"));
}

/// A picture in another format than JPEG or PNG has no name in version 2.2, so one that comes from there
/// cannot be told; an address is no picture.
void Id3FrameCollector::takePicture(QByteArrayView payload, bool isVersion2)
{
    // No more than anybody looks at: each takes more room here than in the tag.
    constexpr qsizetype mostPictures = 10'000;
    const QString format = pictureFormat(payload, isVersion2);
    if (format == QLatin1String("-->"))
        return noteNotInModel(QStringLiteral("linked picture"), ItemKind::part);
    auto picture =
        isVersion2 ? AttachedPicture::withID3v220Data(payload) : AttachedPicture::withID3v230Data(payload);
    if (!picture)
        noteNotInModel(QStringLiteral("picture (%1)").arg(format), ItemKind::part);
    else if (mPictures.size() >= mostPictures)
        noteNotInModel(QStringLiteral("picture"), ItemKind::part);
    if (picture && mPictures.size() < mostPictures) {
        mPictures.append(*std::move(picture));
        mRoles.back() = {MetadataKey::attachedPictures, {}, true};
    }
}

void Id3FrameCollector::nameGenre()
{
    const QString text = mDictionary.value(MetadataKey::genre).toString();
    const auto genre = genreByNumber(text);
    if (!genre)
        return;
    mDictionary.insert(MetadataKey::genre, genre->name);
    if (!genre->rest.isEmpty() && genre->rest != genre->name)
        mChanges[MetadataKey::genre] += ValueChanges::change(MetadataKey::genre, ValueChanges::quoted(text),
                                                             ValueChanges::quoted(genre->name));
}

void Id3FrameCollector::noteUnknown(QByteArrayView payload)
{
    if (mTakesChapters && takeChapter(payload))
        return;
    noteNotInModel(nameOfUnknownFrame(mId, payload));
    if (tellsOfThePackets(mId))
        mItems.back().keeping = Keeping::withSound;
}

/// Their times and titles are read elsewhere (Id3Chapters). False for another frame, or a damaged one.
bool Id3FrameCollector::takeChapter(QByteArrayView payload)
{
    if (mId != "CHAP" && mId != "CTOC")
        return false;
    const std::optional<bool> holdsMore = Id3Chapters::holdsMore(mId, payload);
    if (holdsMore == true)
        noteNotInModel(QStringLiteral("more of the chapters (%1)").arg(QString::fromLatin1(mId)));
    return holdsMore.has_value();
}

void Id3FrameCollector::noteNotInModel(const QString& name, ItemKind kind)
{
    mItems.back() = {kind, Keeping::withTag, name, mItems.back().bytes};
}

/// An earlier frame whose value gives way to that of the frame under way.
void Id3FrameCollector::noteLoser(size_t index, const QString& key, const QString& text)
{
    mItems[index].keeping = Keeping::withTag;
    mItems[index].name = key + u' ' + ValueChanges::quoted(text);
}

MetadataDictionary Id3FrameCollector::take(FileLedger& ledger)
{
    for (FileItem& item : mItems)
        ledger.add(std::move(item));
    for (const auto& [key, changes] : mChanges) {
        for (const QString& change : changes)
            ledger.add({ItemKind::value, Keeping::withTag, change, {}});
    }
    if (!mPictures.isEmpty())
        mDictionary.insert(MetadataKey::attachedPictures, QVariant::fromValue(std::exchange(mPictures, {})));
    return std::exchange(mDictionary, {});
}

} // namespace velloria
