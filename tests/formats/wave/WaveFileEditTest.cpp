#include "formats/wave/WaveFile.h"

#include "formats/kit/SavingTestKit.h"
#include "formats/wave/InfoList.h"

namespace velloria::test
{

namespace
{

const QByteArray kFormat = chunk("fmt ", formatPayload({.numChannels = 1}));
const QByteArray kPlaylist = chunk("plst", QByteArray(16, '\0'));

} // namespace

/// Hand-made files that are saved as what they are.
class WaveFileEditTest : public SavingTest
{
protected:
    std::shared_ptr<AudioFile> openedFrom(const QByteArray& bytes)
    {
        makeFile("in.wav", bytes);
        const auto file = opened("in.wav");
        EXPECT_TRUE(file);
        return file;
    }

    /// The file with other tags and its own sound, or so many frames of it.
    QByteArray saved(const std::shared_ptr<AudioFile>& file, const AudioMetadata& metadata,
                     int64_t numFrames = -1)
    {
        WaveFile writer(file->sampleRate(), file->bitsPerSample(), file->numberOfChannels());
        writer.setOpenedFile(file);
        writer.setMarkers(file->markers());
        writer.setMetadata(metadata);
        const int64_t length = numFrames < 0 ? file->numberOfFrames() : numFrames;
        writer.setNumberOfFrames(length);
        mLost.clear();
        for (const ItemKind kind : {ItemKind::part, ItemKind::tag, ItemKind::value})
            mLost +=
                file->ledger().namesOf(kind, [&](const FileItem& item) { return !writer.willWrite(item); });
        mWrittenTags = writer.writtenTags();
        const ClipList track(AudioClipPtr(std::make_shared<AudioClip>(file, 0, length, 0)));
        save(writer, "out.wav", TrackDocument({track}, file->sampleRate()));
        return bytesOf("out.wav");
    }

    QStringList mLost;
    MetadataDictionary mWrittenTags;
};

TEST_F(WaveFileEditTest, ChunksStayInTheirOrderOnTheirSideOfTheSound)
{
    const QByteArray sound = chunk("data", QByteArray("abcdefgh"));
    const QByteArray info =
        chunk("LIST", "INFO" + chunk("ISFT", "Maker 1\0") + chunk("INAM", QByteArray("Old\0", 4)) +
                          chunk("IENG", QByteArray("En\0\0", 4)) + chunk("IART", "Art"));
    const QByteArray cues = chunk("cue ", QByteArray::fromHex("01000000") + QByteArray(24, '\1'));
    const QByteArray labels = chunk("LIST", "adtl" + chunk("labl", QByteArray("\1\0\0\0x\0", 6)));
    const QByteArray bext = chunk("bext", QByteArray(602, 'b'));
    const QByteArray front = chunk("JUNK", QByteArray(28, '\0')) + bext + kFormat + chunk("wxyz", "odd") +
                             chunk("PAD ", QByteArray(10, '\7'));
    const QByteArray behind = cues + chunk("acid", QByteArray(24, 'a')) + labels + chunk("wxyz", "more") +
                              chunk("iXML", "<x/>") + kPlaylist;
    const QByteArray bytes = riff(front + sound + info + behind);
    const auto file = openedFrom(bytes);
    EXPECT_EQ(file->metadata().title(), "Old");
    EXPECT_EQ(file->metadata().artist(), "Art");
    EXPECT_EQ(file->chunksNotKept() + file->tagsNotKept(), QStringList());
    EXPECT_EQ(saved(file, file->metadata()), bytes);
    EXPECT_EQ(mLost, QStringList());
    EXPECT_EQ(mWrittenTags, file->metadata().dictionary());

    // A changed text changes in its place, a new one comes behind, and no tag of another kind comes in.
    AudioMetadata metadata = file->metadata();
    metadata.setTitle("Longer");
    metadata.setArtist({});
    metadata.setComposer("Cömposer");
    const QByteArray edited = chunk(
        "LIST", "INFO" + chunk("ISFT", "Maker 1\0") + chunk("INAM", QByteArray("Longer\0", 7)) +
                    chunk("IENG", QByteArray("En\0\0", 4)) + chunk("IMUS", QByteArray("Cömposer") + '\0'));
    EXPECT_EQ(saved(file, metadata), riff(front + sound + edited + behind));
    EXPECT_EQ(mLost, QStringList());
    EXPECT_EQ(mWrittenTags, metadata.dictionary());
    EXPECT_EQ(opened("out.wav")->metadata().dictionary(), metadata.dictionary());

    // What counts frames goes with sound of another length.
    EXPECT_EQ(saved(file, file->metadata(), 3),
              riff(front + chunk("data", "abcdef") + info + cues + chunk("acid", QByteArray(24, 'a')) +
                   labels + chunk("wxyz", "more") + chunk("iXML", "<x/>")));
    EXPECT_EQ(mLost, QStringList({"playlist (plst)"}));
}

TEST_F(WaveFileEditTest, WhatTheTextsHaveNoRoomForComesIntoATag)
{
    const QByteArray info = chunk("LIST", "INFO" + chunk("INAM", QByteArray("Title\0", 6)));
    const auto file = openedFrom(riff(kFormat + info + chunk("data", "abcd")));
    AudioMetadata metadata = file->metadata();
    metadata.setLyrics("La");
    metadata.setTitle("New");
    const QByteArray bytes = saved(file, metadata);
    EXPECT_TRUE(bytes.contains(chunk("LIST", "INFO" + chunk("INAM", QByteArray("New\0", 4))) +
                               chunk("data", "abcd") + "ID3 "));
    const auto again = openedFrom(bytes);
    EXPECT_EQ(again->metadata().title(), "New");
    EXPECT_EQ(again->metadata().lyrics(), "La");
    // From now on both change together, and only where they hold the value.
    metadata.setTitle("Newest");
    metadata.setArtist("Artist");
    saved(again, metadata);
    EXPECT_EQ(bytesOf("out.wav").count("Newest"), 2);
    EXPECT_EQ(bytesOf("out.wav").count("Artist"), 1);
    EXPECT_EQ(opened("out.wav")->metadata().artist(), "Artist");
}

TEST(InfoListTest, KeepsWhatItDoesNotChangeAndTheLettersThatAreThere)
{
    const QByteArray damaged = QByteArray("INAM\xFF\xFF\0\0rest", 12);
    const QByteArray payload = "INFO" + chunk("IART", "H\xFClle") + chunk("ICRD", QByteArray("2004\0", 5)) +
                               chunk("YEAR", "2004") + chunk("ITRK", "03") + damaged;
    InfoList list(payload);
    const MetadataDictionary before = list.dictionary();
    EXPECT_EQ(before, MetadataDictionary({{"artist", "Hülle"}, {"year", "2004"}, {"track number", "03"}}));
    EXPECT_EQ(list.payload(), payload);
    MetadataDictionary now = before;
    now["artist"] = "Öl";
    now["year"] = "2005";
    now.remove("track number");
    list.setTags(before, now, false);
    EXPECT_EQ(list.payload(), "INFO" + chunk("IART", "\xD6l") + chunk("ICRD", QByteArray("2005\0", 5)) +
                                  chunk("YEAR", "2005") + damaged);
    EXPECT_TRUE(InfoList("adtlxxxx").isEmpty());
}

} // namespace velloria::test
