#pragma once

#include "formats/tagediting/TagsAround.h"
#include "formats/tags/AudioMetadata.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// The tags around a stream of packets, as a file stores them.
class PacketStreamTags
{
public:
    /// What becomes of an ID3v2 tag that the file begins with.
    enum class FirstTag {
        edited,   ///< it was taken in
        replaced, ///< it cannot be read, and a new one takes its place
        carried   ///< it stays as it is
    };

    PacketStreamTags() = default;
    static PacketStreamTags ofFile(const FileHandle& handle, FirstTag firstTag);

    /// The ID3v2 tag at the start that is edited; empty when there is none.
    const QByteArray& id3() const { return mId3; }
    void setId3(const QByteArray& tag) { mId3 = tag; }
    /// Changes what all others tell of the metadata that differ.
    void edit(const AudioMetadata& read, const AudioMetadata& now);

    /// All bytes in front of the packets, and behind them.
    QByteArray front() const;
    QByteArray behind() const;

private:
    struct StoredTag {
        TagsAround::Tag::Kind kind;
        QByteArray bytes;
    };

    QByteArray mId3;
    /// In the order of the file.
    std::vector<StoredTag> mInFront;
    std::vector<StoredTag> mBehind;
};

} // namespace velloria
