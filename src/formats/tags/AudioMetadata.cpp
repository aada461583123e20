#include "formats/tags/AudioMetadata.h"

#include "formats/tags/Id3Parser.h"
#include "formats/tags/Id3Writer.h"

namespace velloria
{

/// Which member holds which key, in the order of the dictionary.
struct AudioMetadata::Fields {
    template <typename Value> struct Field {
        QString key;
        Value AudioMetadata::*member;
    };
    struct PositionField {
        QString key;
        int64_t AudioMetadata::*number;
        int64_t AudioMetadata::*total;
    };

    const QList<Field<QString>> texts = {
        {QStringLiteral("title"), &AudioMetadata::mTitle},
        {QStringLiteral("artist"), &AudioMetadata::mArtist},
        {QStringLiteral("album artist"), &AudioMetadata::mAlbumArtist},
        {QStringLiteral("album"), &AudioMetadata::mAlbum},
        {QStringLiteral("grouping"), &AudioMetadata::mGrouping},
        {QStringLiteral("composer"), &AudioMetadata::mComposer},
        {MetadataKey::comments, &AudioMetadata::mComments},
        {QStringLiteral("year"), &AudioMetadata::mYear},
        {MetadataKey::genre, &AudioMetadata::mGenre},
        {QStringLiteral("copyright"), &AudioMetadata::mCopyright},
        {QStringLiteral("director"), &AudioMetadata::mDirector},
        {QStringLiteral("format"), &AudioMetadata::mFormat},
        {MetadataKey::encodingApplication, &AudioMetadata::mEncodingApplication},
        {QStringLiteral("purchase date"), &AudioMetadata::mPurchaseDate},
        {QStringLiteral("category"), &AudioMetadata::mCategory},
        {QStringLiteral("egid"), &AudioMetadata::mEgid},
        {QStringLiteral("description"), &AudioMetadata::mShortDescription},
        {QStringLiteral("long description"), &AudioMetadata::mLongDescription},
        {QStringLiteral("keywords"), &AudioMetadata::mKeywords},
        {QStringLiteral("podcast url"), &AudioMetadata::mPodcastURL},
        {QStringLiteral("lyrics"), &AudioMetadata::mLyrics},
        {QStringLiteral("isrc"), &AudioMetadata::mIsrc},
    };
    const QList<Field<int64_t>> numbers = {
        {QStringLiteral("tempo"), &AudioMetadata::mTempo},
        {QStringLiteral("advisory"), &AudioMetadata::mAdvisory},
    };
    const QList<Field<bool>> flags = {
        {QStringLiteral("compilation"), &AudioMetadata::mCompilation},
        {QStringLiteral("gapless"), &AudioMetadata::mGapless},
        {MetadataKey::podcast, &AudioMetadata::mPodcast},
    };
    const QList<PositionField> positions = {
        {MetadataKey::trackNumber, &AudioMetadata::mTrackNumber, &AudioMetadata::mTotalNumberOfTracks},
        {MetadataKey::discNumber, &AudioMetadata::mDiscNumber, &AudioMetadata::mTotalNumberOfDiscs},
    };

    static const Fields& all()
    {
        static const Fields fields;
        return fields;
    }
};

namespace
{

/// The text of a position, bytes of an MPEG-4 file included.
QString positionText(const QVariant& value)
{
    return value.typeId() == QMetaType::QByteArray ? numberDataText(value.toByteArray())
                                                   : metadataText(value);
}

int64_t integer(QStringView text)
{
    return leadingInteger(text).value_or(0);
}

} // namespace

const QStringList& AudioMetadata::dictionaryKeys()
{
    static const QStringList keys = [] {
        QStringList list;
        const auto append = [&list](const auto& fields) {
            for (const auto& field : fields)
                list.append(field.key);
        };
        const Fields& fields = Fields::all();
        append(fields.texts);
        append(fields.numbers);
        append(fields.flags);
        append(fields.positions);
        list.append(MetadataKey::attachedPictures);
        return list;
    }();
    return keys;
}

MetadataDictionary AudioMetadata::dictionary() const
{
    const Fields& fields = Fields::all();
    MetadataDictionary dictionary;
    for (const auto& field : fields.texts) {
        if (!(this->*field.member).isEmpty())
            dictionary.insert(field.key, this->*field.member);
    }
    for (const auto& field : fields.numbers) {
        if (this->*field.member > 0)
            dictionary.insert(field.key, QString::number(this->*field.member));
    }
    for (const auto& field : fields.flags) {
        if (this->*field.member)
            dictionary.insert(field.key, QStringLiteral("1"));
    }
    for (const auto& field : fields.positions) {
        const int64_t number = this->*field.number;
        const int64_t total = this->*field.total;
        if (number > 0 && total >= 1)
            dictionary.insert(field.key, QStringLiteral("%1/%2").arg(number).arg(total));
        else if (number > 0)
            dictionary.insert(field.key, QString::number(number));
    }
    if (!mArtwork.isEmpty())
        dictionary.insert(MetadataKey::attachedPictures, QVariant::fromValue(mArtwork));
    return dictionary;
}

void AudioMetadata::setValuesWithDictionary(const MetadataDictionary& dictionary)
{
    const Fields& fields = Fields::all();
    MetadataDictionary values = dictionary;
    convertGenreNumberToString(values);
    for (const auto& field : fields.texts)
        this->*field.member = metadataText(values.value(field.key));
    for (const auto& field : fields.numbers)
        this->*field.member = integer(metadataText(values.value(field.key)));
    for (const auto& field : fields.flags)
        this->*field.member = integer(metadataText(values.value(field.key))) != 0;
    for (const auto& field : fields.positions) {
        if (!values.contains(field.key))
            continue;
        const QStringList parts = positionText(values.value(field.key)).split(u'/');
        this->*field.number = integer(parts[0]);
        this->*field.total = parts.size() >= 2 ? integer(parts[1]) : 0;
    }
    mArtwork = attachedPictures(values);
}

QByteArray AudioMetadata::id3Data() const
{
    return generateId3Tag(dictionary());
}

void AudioMetadata::setValuesWithID3Data(const QByteArray& tagData)
{
    if (const auto dictionary = parseId3Tag(tagData))
        setValuesWithDictionary(*dictionary);
}

} // namespace velloria
