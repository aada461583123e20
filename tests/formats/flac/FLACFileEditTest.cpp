#include "formats/flac/FLACFile.h"

#include "formats/kit/DecodingTestKit.h"
#include "formats/vorbis/OggVorbisFile.h"
#include "formats/wave/WaveFile.h"

namespace velloria::test
{

/// Files of other programs that are saved as their own type: with their packets, and encoded anew.
class FLACFileEditTest : public DecodingTest
{
protected:
    static constexpr int64_t numFrames = 100000;

    void SetUp() override
    {
        DecodingTest::SetUp();
        WaveFile wave(44100.0, 16, 1);
        save(wave, "in.wav", noiseDocument(numFrames, 1));
    }

    /// A FLAC file with everything that a file can hold.
    void makeFullFile(const std::string& name)
    {
        makeFile("disc.cue", "FILE \"in.wav\" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n");
        makeFile("gif", "GIF89a" + QByteArray(300, 'g'));
        makeFile("jpg", bytes("\xFF\xD8\xFF\xE0") + QByteArray(500, 'j'));
        run("flac",
            {"-s", "-f", "-S", "0.5s", "-P", "2000", "--cuesheet", argument("disc.cue"), "--picture",
             "9|image/gif|moving|16x16x8/4|" + argument("gif"), "--picture",
             "3|image/jpeg|cover|7x8x24|" + argument("jpg"), "-o", argument(name), argument("in.wav")});
        run("metaflac", {"--no-utf8-convert", "--set-tag=Artist=one", "--set-tag=title=Old title",
                         "--set-tag=ARTIST=two", "--set-tag=REPLAYGAIN_TRACK_GAIN=-7.1 dB",
                         "--set-tag=YEAR=1999", "--set-tag=DATE=2004", "--set-tag=CHAPTER001=00:00:00.500",
                         "--set-tag=Chapter001Name=Half", "--set-tag=ENCODER=someone", argument(name)});
        QByteArray file = bytesOf(name);
        file.insert(4 + 4 + 34, QByteArray("\x02\0\0\x06riffxy\x7E\0\0\x03new", 17));
        makeFile(name, file);
    }

    /// As a document does it.
    void saveEdited(AudioFile& writer, const std::shared_ptr<AudioFile>& edited, const std::string& name,
                    bool isKept, int64_t length = numFrames)
    {
        writer.setOpenedFile(edited);
        writer.setDataFormat(edited->dataFormat());
        writer.setNumberOfFrames(length);
        writer.setFilePath(path(name));
        writer.validateAndCorrectParameters();
        writer.offerSound(isKept ? edited : nullptr);
        EXPECT_EQ(writer.keptSound() != nullptr, isKept);
        save(writer, name, noiseDocument(length, 1));
    }

    QStringList listed(const std::string& name, bool isKept) const
    {
        QStringList lines;
        for (const QByteArray& line : run("metaflac", {"--list", argument(name)}).split('\n')) {
            const QByteArray text = line.trimmed();
            // The sound is another one, and another library encoded it.
            const bool isOfSound = text.startsWith("minimum") || text.startsWith("maximum") ||
                                   text.startsWith("MD5") || text.startsWith("vendor") ||
                                   text.contains("stream_offset=");
            if (isKept || !isOfSound)
                lines += QString::fromUtf8(text);
        }
        return lines;
    }
};

TEST_F(FLACFileEditTest, BlocksThatNobodyChangedStay)
{
    makeFullFile("a.flac");
    const auto edited = opened("a.flac");
    ASSERT_TRUE(edited);
    ASSERT_EQ(edited->metadata().artwork().size(), 1);
    ASSERT_TRUE(edited->markers());
    EXPECT_EQ(edited->markers()->front()->position(), 22050);
    EXPECT_EQ(edited->markers()->front()->name(), "Half");
    for (const bool isKept : {true, false}) {
        SCOPED_TRACE(isKept);
        FLACFile same(44100.0, 16, 1);
        same.setMetadata(edited->metadata());
        same.setMarkers(edited->markers());
        saveEdited(same, edited, "b.flac", isKept);
        EXPECT_EQ(listed("b.flac", isKept), listed("a.flac", isKept));
        if (isKept) {
            EXPECT_TRUE(bytesOf("b.flac") == bytesOf("a.flac"));
        }
        run("flac", {"-t", "-s", "--warnings-as-errors", argument("b.flac")});

        // A longer title takes its room from the padding.
        FLACFile writer(44100.0, 16, 1);
        AudioMetadata metadata = edited->metadata();
        metadata.setTitle("A much longer title");
        metadata.setArtist("one; three");
        writer.setMetadata(metadata);
        writer.setMarkers(edited->markers());
        EXPECT_EQ(writer.tagsNotKept(), QStringList());
        saveEdited(writer, edited, "b.flac", isKept);
        QStringList expected = listed("a.flac", isKept);
        expected.replaceInStrings("=Old title", "=A much longer title");
        expected.replaceInStrings("ARTIST=two", "ARTIST=three");
        const QStringList found = listed("b.flac", isKept);
        ASSERT_EQ(found.size(), expected.size());
        for (qsizetype i = 0; i < found.size(); ++i) {
            if (!found[i].startsWith("length: ")) {
                EXPECT_EQ(found[i], expected[i]);
            }
        }
        EXPECT_EQ(writer.writtenTags().value("title"), "A much longer title");
        EXPECT_TRUE(writer.willWrite({ItemKind::tag, Keeping::asBytes, "replaygain_track_gain", {}}));
        if (isKept) {
            EXPECT_EQ(bytesOf("b.flac").size(), bytesOf("a.flac").size());
        }

        // What was written is what the next save edits.
        FLACFile next(44100.0, 16, 1);
        next.setMetadata(edited->metadata());
        next.setMarkers(edited->markers());
        saveEdited(next, opened("b.flac"), "c.flac", true);
        EXPECT_EQ(listed("c.flac", false), listed("a.flac", false));
    }
}

TEST_F(FLACFileEditTest, PicturesAndChaptersChange)
{
    makeFullFile("a.flac");
    const auto edited = opened("a.flac");
    ASSERT_TRUE(edited);
    for (const bool isKept : {true, false}) {
        SCOPED_TRACE(isKept);
        FLACFile writer(44100.0, 16, 1);
        AudioMetadata metadata = edited->metadata();
        AttachedPicture back = metadata.artwork().front();
        back.setPictureType(4);
        back.setPictureDescription("Rück");
        metadata.setArtwork({metadata.artwork().front(), back});
        writer.setMetadata(metadata);
        auto markers = *edited->markers();
        markers.push_back(std::make_shared<AudioMarker>(0, 44100, "One"));
        writer.setMarkers(std::make_shared<const std::vector<AudioMarkerPtr>>(markers));
        saveEdited(writer, edited, "b.flac", isKept);
        EXPECT_TRUE(writer.canSaveArtwork() && writer.canSaveMarkers());
        run("flac", {"-t", "-s", "--warnings-as-errors", argument("b.flac")});
        const auto again = opened("b.flac");
        EXPECT_EQ(again->metadata().artwork(), metadata.artwork());
        ASSERT_EQ(again->markers()->size(), 2U);
        EXPECT_EQ(again->markers()->back()->position(), 44100);
        const QByteArray tags =
            run("metaflac", {"--no-utf8-convert", "--export-tags-to=-", argument("b.flac")});
        EXPECT_TRUE(tags.contains("DATE=2004\nCHAPTER001=00:00:00.500\nCHAPTER001NAME=Half\n"
                                  "CHAPTER002=00:00:01.000\nCHAPTER002NAME=One\nENCODER=someone\n"));
        EXPECT_EQ(
            run("metaflac", {"--list", "--block-type=PICTURE", argument("b.flac")}).count("METADATA block"),
            3);
    }
}

TEST_F(FLACFileEditTest, PicturesAndChaptersComeIntoNewFiles)
{
    makeFullFile("a.flac");
    AudioMetadata metadata;
    metadata.setArtwork(opened("a.flac")->metadata().artwork());
    FLACFile flac(44100.0, 16, 1);
    OggVorbisFile ogg(44100.0, 16, 1);
    for (AudioFile* const writer : std::initializer_list<AudioFile*>{&flac, &ogg}) {
        writer->setMetadata(metadata);
        writer->setMarkers(markerList({{4410, "One"}, {44101, "Two"}}));
        EXPECT_EQ(writer->soundLosses().size(), 1) << "the second one lies between two milliseconds";
        save(*writer, "new", noiseDocument(numFrames, 1));
        const auto again = opened("new");
        ASSERT_TRUE(again && again->markers());
        EXPECT_EQ(again->metadata().artwork(), metadata.artwork());
        EXPECT_EQ(again->markers()->front()->position(), 4410);
        EXPECT_EQ(again->markers()->back()->position(), 44100);
        EXPECT_EQ(again->markers()->back()->name(), "Two");
        const QByteArray found = run("ffprobe", {"-v", "error", "-show_entries",
                                                 "stream=codec_name:chapter=start_time:chapter_tags", "-of",
                                                 "compact", argument("new")});
        EXPECT_TRUE(found.contains("codec_name=mjpeg")) << found.toStdString();
        EXPECT_TRUE(found.contains("start_time=1.000000") && found.contains("title=Two"))
            << found.toStdString();
    }
    QByteArray tooLarge = "\x89PNG" + QByteArray(16 << 20, 'p');
    EXPECT_FALSE(flac.canSavePicture(*AttachedPicture::withPictureData(tooLarge)));
}

TEST_F(FLACFileEditTest, SoundOfAnotherLengthGetsItsOwnSeekTableAndNoCueSheet)
{
    makeFullFile("a.flac");
    const auto edited = opened("a.flac");
    ASSERT_TRUE(edited);
    for (const int64_t length : {int64_t{3 * numFrames}, int64_t{30000}, int64_t{0}}) {
        SCOPED_TRACE(length);
        FLACFile writer(44100.0, 16, 1);
        writer.setMetadata(edited->metadata());
        saveEdited(writer, edited, "b.flac", false, length);
        // A stream without a frame has no length to check.
        run("flac", {"-t", "-s", length > 0 ? "--warnings-as-errors" : "-s", argument("b.flac")});
        const QByteArray table = run("metaflac", {"--list", "--block-type=SEEKTABLE", argument("b.flac")});
        EXPECT_EQ(table.count("sample_number="), length == 0 ? 0 : (length + 22049) / 22050);
        EXPECT_EQ(table.count("PLACEHOLDER"), length == 0 ? 1 : 0);
        EXPECT_EQ(run("metaflac", {"--list", "--block-type=CUESHEET", argument("b.flac")}), QByteArray());
        EXPECT_TRUE(
            run("metaflac", {"--list", "--block-type=APPLICATION", argument("b.flac")}).contains("72696666"));
    }
}

TEST_F(FLACFileEditTest, CommentsInOggStay)
{
    const QStringList tags = {
        "Artist=one", "Title=Old", "ARTIST=two", "mood=x", "CHAPTER000=00:00:01.000", "CHAPTER000NAME=c"};
    QStringList arguments = {"-s", "-f", "--ogg"};
    for (const QString& tag : tags)
        arguments += {"-T", tag};
    run("flac", arguments + QStringList{"-o", argument("a.oga"), argument("in.wav")});
    run("oggenc", {"-Q", "-q", "3", argument("in.wav"), "-o", argument("a.ogg")});
    arguments = {"-R", "-w"};
    for (const QString& tag : tags)
        arguments += {"-t", tag};
    run("vorbiscomment", arguments + QStringList{argument("a.ogg")});
    for (const std::string name : {"a.oga", "a.ogg"}) {
        for (const bool isKept : {true, false}) {
            SCOPED_TRACE(name + (isKept ? " kept" : " encoded"));
            const auto edited = opened(name);
            ASSERT_TRUE(edited);
            EXPECT_EQ(edited->tagsNotKept(), QStringList());
            const std::string out = "out" + name.substr(1);
            std::unique_ptr<AudioFile> writer;
            if (name == "a.oga")
                writer = std::make_unique<FLACFile>(44100.0, 16, 1);
            else
                writer = std::make_unique<OggVorbisFile>(44100.0, 16, 1);
            AudioMetadata metadata = edited->metadata();
            metadata.setTitle("New");
            writer->setMetadata(metadata);
            writer->setMarkers(edited->markers());
            saveEdited(*writer, edited, out, isKept);
            // ffmpeg gives entries of one name as one.
            const QJsonObject found = probed(out)["streams"].toArray()[0].toObject()["tags"].toObject();
            EXPECT_EQ(found["Title"].toString() + found["title"].toString() + found["TITLE"].toString(),
                      "New");
            QByteArray expected = tags.join('\n').toUtf8() + '\n';
            expected.replace("Old", "New");
            if (name == "a.ogg")
                EXPECT_EQ(run("vorbiscomment", {"-R", "-l", argument(out)}), expected);
            else
                run("flac", {"-t", "-s", "--ogg", "--warnings-as-errors", argument(out)});
            const QByteArray bytes = bytesOf(out);
            qsizetype last = 0;
            for (const QByteArray& entry : expected.trimmed().split('\n')) {
                EXPECT_GT(bytes.indexOf(entry), last) << entry.toStdString();
                last = bytes.indexOf(entry);
            }
            EXPECT_EQ(opened(out)->markers()->front()->name(), "c");
        }
    }
}

} // namespace velloria::test
