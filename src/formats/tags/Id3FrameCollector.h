#pragma once

#include "formats/ledger/FileLedger.h"
#include "formats/tags/AttachedPicture.h"
#include "formats/tags/Id3Frames.h"

#include <QByteArrayView>
#include <QHash>
#include <QSet>
#include <map>
#include <optional>

namespace velloria
{

/// What a frame holds of the metadata.
struct Id3FrameRole {
    /// Under which its value counts, or would if it could be read or no other frame told it; empty: none.
    QString key;
    /// Of comments and lyrics, as it was read.
    QString text;
    /// Its value is the one that counts.
    bool isHolder = false;
};

/// Gathers the values of a tag's frames and accounts for each of them: of two that say the same thing
/// differently, only one counts; what the metadata does not hold goes with the tag. Pictures are kept aside
/// so that thousands of them cost no more than one after the other.
class Id3FrameCollector
{
public:
    /// For a file whose chapters are markers; in another one they go with the tag.
    void setTakesChapters(bool takesChapters) { mTakesChapters = takesChapters; }

    /// `bytes` is where the whole frame lies in the tag as it is stored.
    void addVersion2Frame(QByteArrayView id, QByteArrayView payload, ByteRange bytes);
    /// The same for versions 2.3 and 2.4.
    void addFrame(QByteArrayView id, QByteArrayView payload, ByteRange bytes);
    /// A frame that is compressed or encrypted.
    void addUnreadableFrame(QByteArrayView id, ByteRange bytes);

    /// Of each frame, in order.
    std::vector<Id3FrameRole> roles() const;

    /// Hands over the values, and adds the frames to a ledger. Once, at the end.
    MetadataDictionary take(FileLedger& ledger);

private:
    const Id3Frame* begin(QByteArrayView id, ByteRange bytes);
    void take(const Id3Frame& frame, QByteArrayView payload, bool isVersion2);
    void takeText(const Id3Frame& frame, uint8_t encoding, QByteArrayView bytes);
    void takeTextFrame(const Id3Frame& frame, QByteArrayView payload);
    void takePodcastAddress(const Id3Frame& frame, QByteArrayView payload);
    void takeComment(const Id3Frame& frame, QByteArrayView payload);
    void takePicture(QByteArrayView payload, bool isVersion2);
    bool takeValue(const QString& key, const QString& text);
    void noteUnknown(QByteArrayView payload);
    bool takeChapter(QByteArrayView payload);
    void noteNotInModel(const QString& name, ItemKind kind = ItemKind::tag);
    void noteLoser(size_t index, const QString& key, const QString& text);
    void nameGenre();

    MetadataDictionary mDictionary;
    QList<AttachedPicture> mPictures;
    QSet<QString> mKeysOfPlainComments;
    /// One for each frame, the frame under way last.
    std::vector<FileItem> mItems;
    std::vector<Id3FrameRole> mRoles;
    QByteArrayView mId;
    bool mTakesChapters = false;
    /// Which of them holds the value of a key, and what becomes of that value besides.
    QHash<QString, size_t> mHolders;
    std::map<QString, QStringList> mChanges;
};

} // namespace velloria
