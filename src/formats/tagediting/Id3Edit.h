#pragma once

#include "formats/tags/AudioMetadata.h"
#include "formats/tags/Id3Chapters.h"
#include "formats/tags/Id3FrameCollector.h"
#include "formats/tags/Id3FrameMaker.h"
#include "formats/tags/Id3Layout.h"

#include <QByteArray>
#include <cstdint>
#include <optional>

namespace velloria
{

/// What becomes of the sound of the file that a tag stands in.
struct Id3SoundChange {
    /// Tables of where its packets lie mean nothing any more.
    bool isEncodedAnew = false;
    /// Another length than before, which a tag may tell.
    std::optional<int64_t> milliseconds;
    /// Where the chapters are, in a file whose markers these are.
    std::optional<Id3Chapters::Target> chapters;
};

/// A change of an ID3v2 tag as it was opened. It keeps its version and every frame whose value nobody
/// changed, byte for byte and in its place: frames that the metadata does not know, further comments and
/// lyrics, pictures. A changed value takes the place of the frames that held it, in their encoding, language
/// and description; a new one is appended; a removed one goes. Padding is used up first: the tag keeps its
/// length while the frames fit, and gets as much padding as it had when they do not. Damage behind the last
/// frame that can be found stays there.
class Id3Edit
{
public:
    /// Nothing for bytes that are no tag whose frames can be found.
    static std::optional<Id3Edit> ofTag(const QByteArray& tag);

    /// The tag with what differs between the metadata as they were read from the file and as they are now:
    /// the same bytes when that is nothing, no byte when no frame is left. What is too large is left out, and
    /// the log says so. Once.
    QByteArray edited(const AudioMetadata& read, const AudioMetadata& now, const Id3SoundChange& sound);

private:
    Id3Edit(const QByteArray& tag, Id3Layout layout);

    void apply(const AudioMetadata& read, const AudioMetadata& now);
    void setText(const QString& key, const QString& text);
    void setComment(const QString& key, const QString& text);
    void setPictures(const QList<AttachedPicture>& pictures);
    void setSound(const Id3SoundChange& sound);
    void setChapters(const Id3Chapters::Target& chapters);
    std::vector<size_t> framesOf(const QString& key) const;
    std::vector<size_t> commentsToChange(const QString& key) const;
    void append(const QString& key, const QString& text);
    QByteArrayView storedBytes(ByteRange bytes) const;
    QByteArray framesToWrite() const;
    QByteArray assembled() const;

    QByteArray mTag;
    Id3Layout mLayout;
    std::vector<Id3FrameRole> mRoles;
    QList<AttachedPicture> mPictures;
    /// Of each frame: nothing as long as it is as it was, else what stands in its place, if anything.
    std::vector<std::optional<QByteArray>> mReplacements;
    QList<QByteArray> mAppended;
};

} // namespace velloria
