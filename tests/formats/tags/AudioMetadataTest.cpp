#include "formats/tags/AudioMetadata.h"

#include "formats/tags/Id3TestTags.h"

#include <gtest/gtest.h>
#include <limits>

namespace velloria
{
namespace
{

using test::bytes;

/// A dictionary with a different value under every key.
MetadataDictionary fullDictionary()
{
    const QStringList flags = {"compilation", "gapless", "podcast"};
    MetadataDictionary dictionary;
    for (const QString& key : AudioMetadata::dictionaryKeys())
        dictionary.insert(key, flags.contains(key) ? "1" : "value of " + key);
    dictionary["tempo"] = "120";
    dictionary["advisory"] = "2";
    dictionary["track number"] = "5/12";
    dictionary["disc number"] = "1/2";
    const auto picture = AttachedPicture::withPictureData("\x89PNG");
    dictionary["attached pictures"] = QVariant::fromValue(QList<AttachedPicture>{*picture});
    return dictionary;
}

AudioMetadata metadataOf(const MetadataDictionary& dictionary)
{
    AudioMetadata metadata;
    metadata.setValuesWithDictionary(dictionary);
    return metadata;
}

TEST(AudioMetadata, GivesBackTheWholeDictionary)
{
    const AudioMetadata metadata = metadataOf(fullDictionary());
    EXPECT_EQ(metadata.dictionary(), fullDictionary());
    EXPECT_EQ(metadata.shortDescription(), "value of description");
    EXPECT_EQ(metadata.albumArtist(), "value of album artist");
    EXPECT_EQ(metadata.totalNumberOfTracks(), 12);
    EXPECT_TRUE(metadata.podcast());
    EXPECT_EQ(metadata.artwork().size(), 1);
    EXPECT_TRUE(metadata.isNotEmpty());
    EXPECT_FALSE(AudioMetadata().isNotEmpty());
}

TEST(AudioMetadata, SurvivesAnId3Tag)
{
    MetadataDictionary expected = fullDictionary();
    AudioMetadata read;
    read.setValuesWithID3Data(metadataOf(expected).id3Data());
    expected["encoding application"] = "Velloria";
    EXPECT_EQ(read.dictionary(), expected);

    read.setValuesWithID3Data("no tag at all, and long enough");
    EXPECT_EQ(read.dictionary(), expected);
    EXPECT_TRUE(AudioMetadata().id3Data().isEmpty());
}

TEST(AudioMetadata, ListsItsKeysInTheOrderOfItsProperties)
{
    MetadataDictionary dictionary = fullDictionary();
    dictionary["publisher"] = "P";
    dictionary["language"] = "L";
    const QStringList keys = orderedMetadataKeys(dictionary);
    EXPECT_EQ(keys.first(3), (QStringList{"title", "artist", "album artist"}));
    EXPECT_EQ(keys.last(10),
              (QStringList{"tempo", "advisory", "compilation", "gapless", "podcast", "track number",
                           "disc number", "attached pictures", "language", "publisher"}));
    EXPECT_EQ(keys.size(), dictionary.size());
}

TEST(AudioMetadata, WritesPositionsWithTheirTotals)
{
    const struct {
        int64_t number, total;
        QString text;
    } cases[] = {{5, 0, "5"}, {5, 12, "5/12"}, {0, 12, ""}, {-1, 12, ""}, {5, -1, "5"}};
    for (const auto& c : cases) {
        AudioMetadata metadata;
        metadata.setTrackNumber(c.number);
        metadata.setTotalNumberOfTracks(c.total);
        metadata.setDiscNumber(c.number);
        metadata.setTotalNumberOfDiscs(c.total);
        for (const char* key : {"track number", "disc number"})
            EXPECT_EQ(metadata.dictionary().value(key).toString(), c.text);
        EXPECT_EQ(metadata.isNotEmpty(), !c.text.isEmpty());
    }
}

TEST(AudioMetadata, ReadsNumbersAndFlagsFromWhateverItIsGiven)
{
    const struct {
        QVariant value;
        int64_t number, total;
    } cases[] = {
        {"5/12", 5, 12},
        {" 5 / 12 ", 5, 12},
        {"5", 5, 0},
        {"5/", 5, 0},
        {"5/12/7", 5, 12},
        {"/12", 0, 12},
        {"side A", 0, 0},
        {"", 0, 0},
        {"99999999999999999999", std::numeric_limits<int64_t>::max(), 0},
        {7, 7, 0},
        {bytes("\0\0\0\3\0\x0C\0\0"), 3, 12},
        {bytes("\0\0"), 0, 0},
    };
    for (const auto& c : cases) {
        const AudioMetadata metadata = metadataOf({{"track number", c.value}});
        EXPECT_EQ(metadata.trackNumber(), c.number) << c.value.toString().toStdString();
        EXPECT_EQ(metadata.totalNumberOfTracks(), c.total) << c.value.toString().toStdString();
    }
    EXPECT_EQ(metadataOf({{"tempo", "127.5 bpm"}}).tempo(), 127);
    EXPECT_EQ(metadataOf({{"genre", 17}}).genre(), "Rock");
    const std::pair<const char*, bool> flags[] = {
        {"0", false}, {"1", true}, {"2", true}, {"-1", true}, {"yes", false}};
    for (const auto& [text, isSet] : flags)
        EXPECT_EQ(metadataOf({{"compilation", text}}).compilation(), isSet) << text;
}

TEST(AudioMetadata, ReplacesEveryTagButKeepsChunksAndPositions)
{
    AudioMetadata metadata = metadataOf(fullDictionary());
    metadata.setAiffInstrumentChunk("INST");
    metadata.setAiffMIDIChunk("MIDI");
    metadata.setAiffAudioRecordingChunk("AESD");
    metadata.setAiffCommentChunk("COMT");
    metadata.setWaveBWFChunks({"bext", "iXML"});
    const AudioMetadata copy = metadata;

    metadata.setValuesWithDictionary({});
    EXPECT_EQ(metadata.dictionary(), (MetadataDictionary{{"track number", "5/12"}, {"disc number", "1/2"}}));
    EXPECT_EQ(copy.dictionary(), fullDictionary());
    EXPECT_NE(metadata, copy);
    metadata.setValuesWithDictionary(fullDictionary());
    EXPECT_EQ(metadata, copy) << "chunks were lost";

    AudioMetadata chunksOnly;
    chunksOnly.setAiffCommentChunk("COMT");
    chunksOnly.setWaveBWFChunks({"bext"});
    EXPECT_FALSE(chunksOnly.isNotEmpty());
}

} // namespace
} // namespace velloria
