#include "formats/tagediting/Id3Edit.h"
#include "formats/tagediting/OtherTagEdits.h"
#include "formats/tags/AudioMetadata.h"
#include "formats/tags/ID3Data.h"
#include "platform/Log.h"

#include <cstdlib>

using namespace velloria;

namespace
{

void require(bool condition)
{
    if (!condition)
        std::abort();
}

bool hasCleanTexts(const MetadataDictionary& dictionary)
{
    return std::all_of(dictionary.begin(), dictionary.end(), [](const QVariant& value) {
        const QString text = value.toString();
        return !text.contains(QChar::Null) && (!text.isEmpty() || value.typeId() != QMetaType::QString);
    });
}

/// Sizes of version 2.4, and where frames begin behind an extended header, may be guessed from what follows,
/// which is something else after an edit.
bool isPlain(const Id3Layout& layout)
{
    return layout.version() != 4 && layout.extendedHeader().length == 0;
}

/// An edit of nothing gives the same bytes; any other one a tag with the new values and all others as before.
void tryEdits(const QByteArray& tag, const AudioMetadata& read)
{
    auto edit = Id3Edit::ofTag(tag);
    if (!edit)
        return;
    require(edit->edited(read, read, {}) == tag);
    AudioMetadata now = read;
    now.setTitle(QStringLiteral("Title \u0416"));
    now.setComments(QStringLiteral("a comment"));
    now.setYear({});
    QList<AttachedPicture> pictures = read.artwork().mid(1, 3);
    pictures.append(*AttachedPicture::withPictureData("\x89PNGdata"));
    now.setArtwork(pictures);
    const QByteArray made = Id3Edit::ofTag(tag)->edited(read, now, {true, 1000, std::nullopt});
    const auto layout = Id3Layout::ofTag(made);
    require(layout.has_value());
    AudioMetadata found;
    found.setValuesWithID3Data(made);
    if (isPlain(*layout) && isPlain(*Id3Layout::ofTag(tag)))
        require(found == now);
}

/// Every chapter is a marker; with one marker more, and another name, there is one chapter more.
void tryChapters(const QByteArray& tag)
{
    constexpr double rate = 1000.0;
    const MarkerList markers = Id3Chapters::markers(tag, rate);
    if (!markers)
        return;
    std::vector<AudioMarkerPtr> now;
    for (const AudioMarkerPtr& marker : *markers)
        now.push_back(AudioMarker::markerWithMarker(*marker));
    Id3SoundChange sound;
    sound.chapters = Id3Chapters::Target{std::make_shared<const std::vector<AudioMarkerPtr>>(now), rate,
                                         10000, 10000, false};
    require(Id3Edit::ofTag(tag)->edited({}, {}, sound) == tag);
    now.front()->setName(QStringLiteral("\u0416"));
    now.push_back(std::make_shared<AudioMarker>(0, 77, QStringLiteral("new")));
    sound.chapters->markers = std::make_shared<const std::vector<AudioMarkerPtr>>(now);
    const QByteArray made = Id3Edit::ofTag(tag)->edited({}, {}, sound);
    const auto layout = Id3Layout::ofTag(made);
    const MarkerList found = Id3Chapters::markers(made, rate);
    if (layout && isPlain(*layout))
        require(found && found->size() == now.size());
}

} // namespace

/// Reads the bytes as a tag. What we then write, read and write again must not change any more: the first
/// writing may drop what version 2.2 cannot hold, the second may not.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const LogCapture quiet;
    const QByteArray tag(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const ID3Data read = ID3Data::id3DataWithData(tag);
    require(hasCleanTexts(read.dictionary()));

    AudioMetadata metadata;
    metadata.setValuesWithID3Data(tag);
    tryEdits(tag, metadata);
    tryChapters(tag);
    AudioMetadata other = metadata;
    other.setTitle(QStringLiteral("Other"));
    other.setLyrics({});
    for (const auto kind :
         {TagsAround::Tag::Kind::id3v1, TagsAround::Tag::Kind::ape, TagsAround::Tag::Kind::lyrics3}) {
        OtherTagEdits::edited(kind, tag, metadata, other);
        OtherTagEdits::edited(kind, tag, {}, other);
    }
    metadata.setValuesWithDictionary(metadata.dictionary());

    const QByteArray written = ID3Data::id3DataWithDictionary(read.dictionary()).tagData();
    const ID3Data reread = ID3Data::id3DataWithData(written);
    require(read.dictionary().isEmpty() == written.isEmpty());
    const QByteArray rewritten = ID3Data::id3DataWithDictionary(reread.dictionary()).tagData();
    require(ID3Data::id3DataWithData(rewritten).dictionary() == reread.dictionary());
    return 0;
}
