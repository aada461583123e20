#pragma once

#include "document/clips/AudioMarker.h"
#include "formats/ledger/FileLedger.h"
#include "formats/tags/AudioMetadata.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QStringList>
#include <optional>
#include <string_view>

namespace velloria
{

/// The tags of FLAC and Ogg files: entries "KEY=value" in UTF-8, whose keys are those of the metadata
/// dictionary in upper case. Most other programs spell some of them otherwise (ALBUMARTIST for ALBUM ARTIST,
/// DATE for YEAR) and know nothing of ours. So that they and we see the same tags, both spellings are written
/// and read. Where both stand in a file, theirs counts: whoever changed one changed that. All other entries
/// stay where the file is saved as its own type (VorbisCommentEdit); elsewhere a person is told of them.
class VorbisComments
{
public:
    /// Takes in one entry of a file. One without a value says nothing; of several with the same key, the
    /// values are joined.
    void add(std::string_view entry);

    /// Takes in a picture that stands elsewhere in the file. One that is neither JPEG nor PNG, or too large
    /// for a picture, counts as not kept.
    void addPicture(uint32_t type, std::string_view mimeType, std::string_view description,
                    const QByteArray& data);

    /// Chapters as markers; null when there are none.
    MarkerList chapters(double sampleRate) const;

    bool isEmpty() const { return mValues.isEmpty() && mPictures.isEmpty(); }
    MetadataDictionary dictionary() const;

    /// Accounts for everything that was added: keys (in lower case) and pictures that the metadata has no
    /// room for, values that are joined or contradicted by another spelling, and those that `metadata`, which
    /// took in dictionary(), gives back otherwise. What only names the program that made the file counts as
    /// nothing. `keeping` is what becomes of them when the file is saved.
    void declare(const AudioMetadata& metadata, FileLedger& ledger, Keeping keeping = Keeping::notKept) const;
    /// The same for the tags of a later part of a file whose first part has `first`, which are not taken in.
    void declareBeside(const VorbisComments& first, FileLedger& ledger) const;

    struct Entry {
        QByteArray key;
        QByteArray value;
    };
    /// What is written for a dictionary, in the order of its keys: texts and numbers, a numeric genre as its
    /// name, and each once more as other programs spell it; pictures and empty texts are left out.
    static QList<Entry> entriesOf(const MetadataDictionary& dictionary);

private:
    void addPictureBlock(std::string_view base64);
    void take(const std::optional<AttachedPicture>& picture);
    QString textOf(const QString& name) const;
    QString positionText(const QString& key) const;
    QString chosenText(const QString& key) const;

    /// By their names in the file, in lower case.
    QMap<QString, QStringList> mValues;
    QStringList mNamesNotKept;
    QList<QByteArray> mChapters;
    QList<AttachedPicture> mPictures;
    int mNumPicturesNotKept = 0;
};

} // namespace velloria
