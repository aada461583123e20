#pragma once

#include "formats/ledger/FileLedger.h"

#include <QByteArray>
#include <QByteArrayView>
#include <cstdint>
#include <optional>
#include <vector>

namespace velloria
{

constexpr qsizetype id3HeaderLength = 10;

/// One frame as a tag stores it.
struct Id3StoredFrame {
    QByteArrayView id;
    /// The whole frame, in the tag as it is stored.
    ByteRange bytes;
    /// Without what the flags put in front of it.
    QByteArrayView payload;
    /// The two flag bytes of versions 2.3 and 2.4.
    uint8_t statusFlags = 0;
    uint8_t formatFlags = 0;
    /// The group that it says it belongs to.
    std::optional<char> group;
    /// Compressed or encrypted.
    bool isUnreadable = false;
    bool isUnsynchronised = false;

    /// The payload as it is meant.
    QByteArray content() const;
};

/// Where the parts of an ID3v2.2, 2.3 or 2.4 tag lie: header, extended header, frames, padding, footer. A
/// damaged frame ends the list of frames. The memory in use stays in proportion to the bytes given, whatever
/// sizes they claim. These bytes must outlive this object.
class Id3Layout
{
public:
    /// Nothing when the bytes are no such tag, or one whose frames cannot be found.
    static std::optional<Id3Layout> ofTag(QByteArrayView tag);

    /// 2, 3 or 4.
    int version() const { return mVersion; }
    /// The byte of the header.
    uint8_t flags() const { return mFlags; }
    /// Versions 2.2 and 2.3 are unsynchronised as a whole; in 2.4 each frame is by itself.
    bool isUnsynchronised() const { return mIsUnsynchronised; }
    bool hasUnsynchronisedFrames() const;
    const std::vector<Id3StoredFrame>& frames() const { return mFrames; }
    ByteRange extendedHeader() const { return mExtendedHeader; }
    /// What stands between the last frame and the end of the tag, or its footer.
    ByteRange rest() const { return mRest; }
    /// Else frames that cannot be found behind damage.
    bool restIsPadding() const { return mRestIsPadding; }
    bool hasFooter() const { return mHasFooter; }

private:
    class StoredPositions;

    Id3Layout() = default;
    void findFrames(QByteArrayView tag, StoredPositions& positions);
    void findVersion2Frames(QByteArrayView tag, StoredPositions& positions);
    void findVersion3Or4Frames(QByteArrayView tag, StoredPositions& positions);
    void finish(QByteArrayView tag, qsizetype offset, StoredPositions& positions);

    int mVersion = 0;
    uint8_t mFlags = 0;
    bool mIsUnsynchronised = false;
    bool mHasFooter = false;
    bool mRestIsPadding = false;
    /// The tag without the zero bytes that unsynchronisation put in; the frames lie in it then.
    QByteArray mResynchronised;
    std::vector<Id3StoredFrame> mFrames;
    ByteRange mExtendedHeader;
    ByteRange mRest;
};

/// The length of a tag by its header of 10 bytes, these and a footer included.
int64_t id3TagLength(QByteArrayView header);

/// The value of four bytes that hold seven bits each, most significant first; an eighth bit carries over.
int64_t intFromSynchSafe(QByteArrayView bytes);

/// The inverse, for numbers of up to 28 bits.
QByteArray id3SynchSafe(uint32_t value);

/// Takes out every zero byte that directly follows an 0xFF byte: what a writer put in so that no player
/// sees the start of an MPEG frame inside a tag.
QByteArray unsynchronizeData(QByteArrayView bytes);

} // namespace velloria
