#include "formats/tagediting/Id3Edit.h"

#include "formats/tagediting/Id3ExtendedHeader.h"
#include "formats/tags/Id3Parser.h"
#include "formats/tags/ValueChanges.h"
#include "platform/Log.h"

#include <QSet>
#include <algorithm>

namespace velloria
{

namespace
{

constexpr qsizetype largestTag = id3HeaderLength + 0xFFFFFFF; // the size field has 28 bits

bool isTableOfPackets(QByteArrayView id)
{
    return id == "MLLT" || id == "MLL" || id == "ASPI";
}

bool isComment(const QString& key)
{
    const Id3Frame* const frame = id3FrameForKey(key, 2);
    return frame && frame->kind == Id3FrameKind::comment;
}

/// Appends stored bytes so that the two of them that meet look like no MPEG frame.
void join(QByteArray& bytes, QByteArrayView next, bool isUnsynchronised)
{
    if (isUnsynchronised && !bytes.isEmpty() && !next.isEmpty() &&
        needsId3Unsynchronisation(bytes.back(), next.front()))
        bytes += '\0';
    bytes += next;
}

} // namespace

Id3Edit::Id3Edit(const QByteArray& tag, Id3Layout layout)
    : mTag(tag)
    , mLayout(std::move(layout))
    , mReplacements(mLayout.frames().size())
{
    Id3FrameCollector collector;
    collectId3Frames(mLayout, collector);
    mRoles = collector.roles();
    FileLedger ledger;
    mPictures = attachedPictures(collector.take(ledger));
}

std::optional<Id3Edit> Id3Edit::ofTag(const QByteArray& tag)
{
    auto layout = Id3Layout::ofTag(tag);
    // An extended header that leaves no room for a frame is damaged, and nothing behind it would be found.
    if (!layout || (layout->frames().empty() && layout->extendedHeader().length > 0))
        return std::nullopt;
    return Id3Edit(tag, *std::move(layout));
}

QByteArray Id3Edit::edited(const AudioMetadata& read, const AudioMetadata& now, const Id3SoundChange& sound)
{
    apply(read, now);
    setSound(sound);
    if (sound.chapters)
        setChapters(*sound.chapters);
    const bool isUnchanged = mAppended.isEmpty() && std::none_of(mReplacements.begin(), mReplacements.end(),
                                                                 [](const auto& each) { return each; });
    return isUnchanged ? mTag : assembled();
}

void Id3Edit::apply(const AudioMetadata& read, const AudioMetadata& now)
{
    const QMap<QString, QString> changes = ValueChanges::changedTexts(read, now);
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        if (isComment(change.key()))
            setComment(change.key(), change.value());
        else
            setText(change.key(), change.value());
    }
    if (read.artwork() != now.artwork())
        setPictures(now.artwork());
}

std::vector<size_t> Id3Edit::framesOf(const QString& key) const
{
    std::vector<size_t> indices;
    for (size_t i = 0; i < mRoles.size(); ++i) {
        if (mRoles[i].key == key)
            indices.push_back(i);
    }
    return indices;
}

void Id3Edit::append(const QString& key, const QString& text)
{
    if (const Id3Frame* const kind = id3FrameForKey(key, mLayout.version()); kind && !text.isEmpty())
        mAppended += Id3FrameMaker(mLayout).frame(*kind, text, nullptr);
}

/// Two frames may tell a value (TYER and TDRC); both follow, so that no reader finds the old one. Of several
/// frames of one name, which the format does not allow, one remains.
void Id3Edit::setText(const QString& key, const QString& text)
{
    const Id3FrameMaker maker(mLayout);
    QSet<QByteArray> changed;
    for (const size_t i : framesOf(key)) {
        const Id3StoredFrame& frame = mLayout.frames()[i];
        const QByteArray id = frame.id.toByteArray();
        const bool isNeeded = !text.isEmpty() && !changed.contains(id);
        mReplacements[i] = isNeeded ? maker.frame(*id3FrameWithID(frame.id), text, &frame) : QByteArray();
        changed.insert(id);
    }
    if (changed.isEmpty())
        append(key, text);
}

/// The one that counts, and others that say the same in other languages or under other descriptions. Where
/// none counts, an empty one has the place of the text that is to come.
std::vector<size_t> Id3Edit::commentsToChange(const QString& key) const
{
    std::vector<size_t> indices = framesOf(key);
    const auto holder =
        std::find_if(indices.begin(), indices.end(), [this](size_t i) { return mRoles[i].isHolder; });
    if (holder == indices.end()) {
        indices.resize(std::min<size_t>(1, indices.size()));
        return indices;
    }
    const QString text = mRoles[*holder].text;
    std::erase_if(indices, [&](size_t i) { return mRoles[i].text != text; });
    return indices;
}

void Id3Edit::setComment(const QString& key, const QString& text)
{
    const Id3FrameMaker maker(mLayout);
    const std::vector<size_t> indices = commentsToChange(key);
    for (const size_t i : indices) {
        const Id3StoredFrame& frame = mLayout.frames()[i];
        mReplacements[i] =
            text.isEmpty() ? QByteArray() : maker.frame(*id3FrameWithID(frame.id), text, &frame);
    }
    if (indices.empty())
        append(key, text);
}

/// Those that are still there keep their frames; together with the new ones they fill the places of the old
/// ones, in their new order.
void Id3Edit::setPictures(const QList<AttachedPicture>& pictures)
{
    const Id3FrameMaker maker(mLayout);
    const std::vector<size_t> places = framesOf(MetadataKey::attachedPictures);
    std::vector<bool> isUsed(places.size());
    QList<QByteArray> frames;
    for (const AttachedPicture& picture : pictures) {
        size_t k = 0;
        while (k < places.size() && (isUsed[k] || mPictures[static_cast<qsizetype>(k)] != picture))
            ++k;
        if (k < places.size()) {
            isUsed[k] = true;
            frames += storedBytes(mLayout.frames()[places[k]].bytes).toByteArray();
        } else {
            frames += maker.picture(picture, nullptr);
        }
    }
    qsizetype next = 0;
    for (const size_t place : places)
        mReplacements[place] = next < frames.size() ? frames[next++] : QByteArray();
    for (; next < frames.size(); ++next) {
        if (places.empty())
            mAppended += frames[next];
        else
            join(*mReplacements[places.back()], frames[next], mLayout.isUnsynchronised());
    }
}

void Id3Edit::setSound(const Id3SoundChange& sound)
{
    for (size_t i = 0; i < mReplacements.size(); ++i) {
        const Id3StoredFrame& frame = mLayout.frames()[i];
        const bool tellsSize = frame.id == "TSIZ" || frame.id == "TSI";
        if (sound.isEncodedAnew && (tellsSize || isTableOfPackets(frame.id)))
            mReplacements[i] = QByteArray();
        if (sound.milliseconds && (frame.id == "TLEN" || frame.id == "TLE"))
            mReplacements[i] =
                Id3FrameMaker(mLayout).textInPlaceOf(frame, QString::number(*sound.milliseconds));
    }
}

void Id3Edit::setChapters(const Id3Chapters::Target& chapters)
{
    Id3Chapters::Edit edit = Id3Chapters::edit(mLayout, Id3FrameMaker(mLayout), chapters);
    for (auto& [index, frame] : edit.replacements)
        mReplacements[index] = std::move(frame);
    mAppended += edit.appended;
}

QByteArrayView Id3Edit::storedBytes(ByteRange bytes) const
{
    return QByteArrayView(mTag).sliced(bytes.offset, bytes.length);
}

QByteArray Id3Edit::framesToWrite() const
{
    qsizetype room = largestTag - id3HeaderLength - mLayout.extendedHeader().length;
    if (!mLayout.restIsPadding())
        room -= mLayout.rest().length;
    for (size_t i = 0; i < mReplacements.size(); ++i)
        room -= mReplacements[i] ? 0 : mLayout.frames()[i].bytes.length;
    QByteArray frames;
    frames.reserve(mTag.size());
    const auto add = [&](const QByteArray& frame) {
        if (frame.size() > room) {
            logLine(QStringLiteral("ID3 tag: a frame of %1 bytes is too large and was left out.")
                        .arg(frame.size()));
            return;
        }
        room -= frame.size();
        join(frames, frame, mLayout.isUnsynchronised());
    };
    for (size_t i = 0; i < mReplacements.size(); ++i) {
        if (mReplacements[i])
            add(*mReplacements[i]);
        else
            join(frames, storedBytes(mLayout.frames()[i].bytes), mLayout.isUnsynchronised());
    }
    for (const QByteArray& frame : mAppended)
        add(frame);
    // Padding, or what cannot be read, may follow.
    if (mLayout.isUnsynchronised() && frames.endsWith('\xFF'))
        frames += '\0';
    return frames;
}

/// A tag with a footer has no padding.
QByteArray Id3Edit::assembled() const
{
    const QByteArray frames = framesToWrite();
    if (frames.isEmpty() && mLayout.restIsPadding())
        return {};
    const qsizetype footerLength = mLayout.hasFooter() ? id3HeaderLength : 0;
    const qsizetype lengthBefore = mTag.size() - footerLength;
    qsizetype padding = mLayout.restIsPadding() ? mLayout.rest().length : 0;
    QByteArray header;
    // Where the extended header is unsynchronised its length may hang on the padding that it tells.
    for (int i = 0; i < 3; ++i) {
        header = mTag.first(id3HeaderLength) +
                 id3ExtendedHeader(mLayout, storedBytes(mLayout.extendedHeader()), frames, padding);
        const qsizetype length = header.size() + frames.size();
        if (mLayout.restIsPadding() && footerLength == 0)
            padding = length <= lengthBefore
                          ? lengthBefore - length
                          : std::min<qsizetype>(mLayout.rest().length, largestTag - length);
    }
    QByteArray tag = header + frames + QByteArray(std::max<qsizetype>(0, padding), '\0');
    if (!mLayout.restIsPadding())
        tag += storedBytes(mLayout.rest());
    const QByteArray size = id3SynchSafe(static_cast<uint32_t>(tag.size() - id3HeaderLength));
    tag.replace(6, 4, size);
    return mLayout.hasFooter() ? tag + "3DI" + tag.sliced(3, 7) : tag;
}

} // namespace velloria
