#pragma once

#include "formats/tags/AudioMetadata.h"

#include <QByteArray>
#include <QList>
#include <QStringList>
#include <string_view>

namespace velloria
{

/// The tags of FLAC and Ogg files: entries "KEY=value" in UTF-8, whose keys are those of the metadata
/// dictionary in upper case. On reading only such keys are known; of all other entries a person is told,
/// since no save carries them over.
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

    bool isEmpty() const { return mDictionary.isEmpty() && mPictures.isEmpty(); }
    MetadataDictionary dictionary() const;
    /// Keys, in lower case and each once, of the entries that the metadata has no room for. What only names
    /// the program that made the file counts as nothing.
    const QStringList& keysNotKept() const { return mKeysNotKept; }
    /// True when there is a picture that could not be taken in.
    bool hasPictureNotKept() const { return mHasPictureNotKept; }

    struct Entry {
        QByteArray key;
        QByteArray value;
    };
    /// What is written for a dictionary, in the order of its keys: texts and numbers, a numeric genre as its
    /// name; pictures and empty texts are left out.
    static QList<Entry> entriesOf(const MetadataDictionary& dictionary);

private:
    void addPictureBlock(std::string_view base64);
    void noteKeyNotKept(const QString& key);

    MetadataDictionary mDictionary;
    QStringList mKeysNotKept;
    QList<AttachedPicture> mPictures;
    bool mHasPictureNotKept = false;
};

} // namespace velloria
