#include "document/KeptSoundKit.h"

#include "document/UndoGroup.h"
#include "formats/kit/FileTestKit.h"

#include <QtEndian>

namespace velloria::kit
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const QString kLong = QString(100000, u'x');

/// How another program makes a file of source.wav.
struct Encoded {
    const char* file;
    const char* program;
    const char* arguments;
    size_t numChannels = 2;
    double sampleRate = 44100.0;
};

const std::vector<Encoded> kEncoded = {
    {"lame.mp3", "lame", "--quiet -b 160 --id3v2-only --tt Old source.wav lame.mp3"},
    {"other.mp3", "ffmpeg", "-v error -i source.wav -b:a 128k -metadata title=Old other.mp3"},
    {"vbr.mp3", "lame", "--quiet -V 3 source.wav vbr.mp3"},
    {"checked.mp3", "lame", "--quiet -b 128 -p -m d -e c source.wav checked.mp3"},
    {"noinfo.mp3", "ffmpeg", "-v error -i source.wav -b:a 96k -write_xing 0 -id3v2_version 0 noinfo.mp3"},
    {"half.mp3", "lame", "--quiet -b 32 source.wav half.mp3", 1, 22050.0},
    {"quarter.mp3", "lame", "--quiet -b 16 source.wav quarter.mp3", 1, 11025.0},
    {"layer2.mp2", "ffmpeg", "-v error -i source.wav -c:a mp2 -b:a 192k layer2.mp2"},
    {"seek.flac", "flac",
     "--silent -f -S 10x --padding 4000 -T TITLE=Old -T ALBUM=Kept source.wav -o seek.flac"},
    {"plain.flac", "ffmpeg", "-v error -i source.wav -frame_size 1000 plain.flac"},
    {"native.ogg", "oggenc", "-Q -q 4 -t Old source.wav -o native.ogg"},
    {"average.ogg", "oggenc", "-Q -b 96 --managed -a Who source.wav -o average.ogg", 1},
    {"other.ogg", "ffmpeg", "-v error -i source.wav -c:a libvorbis -q:a 6 other.ogg"},
    {"flac.oga", "flac", "--silent -f --ogg -T TITLE=Old source.wav -o flac.oga"},
    {"other.oga", "ffmpeg", "-v error -i source.wav -c:a flac other.oga"},
    {"aac.m4a", "ffmpeg", "-v error -i source.wav -c:a aac -b:a 96k -metadata title=Old aac.m4a"},
    {"fast.m4a", "ffmpeg", "-v error -i source.wav -c:a aac -b:a 64k -movflags +faststart fast.m4a", 1},
    {"parts.m4a", "ffmpeg",
     "-v error -i source.wav -c:a aac -b:a 64k -movflags +frag_keyframe+empty_moov -frag_duration 300000 "
     "parts.m4a"},
    {"lossless.m4a", "ffmpeg", "-v error -i source.wav -c:a alac lossless.m4a"},
    {"mp3.mp4", "ffmpeg", "-v error -i source.wav -c:a libmp3lame -b:a 96k mp3.mp4"},
    {"mulaw.wav", "ffmpeg", "-v error -i source.wav -c:a pcm_mulaw mulaw.wav"},
    {"adpcm.wav", "ffmpeg", "-v error -i source.wav -c:a adpcm_ms adpcm.wav"},
    {"float.wav", "ffmpeg", "-v error -i source.wav -c:a pcm_f32le float.wav"},
    {"alaw.aifc", "ffmpeg", "-v error -i source.wav -c:a pcm_alaw -f aiff alaw.aifc"},
    {"ima.aifc", "ffmpeg", "-v error -i source.wav -c:a adpcm_ima_qt -f aiff ima.aifc"},
    {"ima.caf", "ffmpeg", "-v error -i source.wav -c:a adpcm_ima_qt -bitexact ima.caf"},
    {"mulaw.caf", "ffmpeg", "-v error -i source.wav -c:a pcm_mulaw -bitexact mulaw.caf", 1},
    {"little.caf", "ffmpeg", "-v error -i source.wav -c:a pcm_s24le -bitexact little.caf"},
    {"double.caf", "ffmpeg", "-v error -i source.wav -c:a pcm_f64be -bitexact double.caf"},
    {"mulaw.au", "ffmpeg", "-v error -i source.wav -c:a pcm_mulaw mulaw.au"},
    {"float.au", "ffmpeg", "-v error -i source.wav -c:a pcm_f32be float.au"},
    {"adts.aac", "ffmpeg", "-v error -i source.wav -c:a aac -b:a 96k adts.aac"},
};

} // namespace

TEST_F(KeptSoundTest, PacketsStayAsTheyAreWhenTagsChange)
{
    std::pair<size_t, double> source;
    for (const Encoded& each : kEncoded) {
        SCOPED_TRACE(each.file);
        if (source != std::pair(each.numChannels, each.sampleRate))
            makeSource(each.numChannels, each.sampleRate);
        source = {each.numChannels, each.sampleRate};
        run(each.program, QString::fromLatin1(each.arguments).split(' '));
        const std::string packets = packetsOf(each.file);
        const auto document = open(each.file);
        ASSERT_TRUE(document);
        const TrackSamples before = samplesOf(*document);
        const int64_t bitRate = document->bitRate();
        // Longer, shorter, none: each save reads the file that the one before it wrote.
        for (const QString& title : {kLong, QStringLiteral("Short"), QString()}) {
            SCOPED_TRACE(title.left(10).toStdString());
            setTitle(*document, title);
            const SaveRequest request = requestFor(*document);
            const bool holdsTags = document->audioFile()->canSaveMetadata();
            EXPECT_THAT(losses(*document, request), testing::Each(Not(HasSubstr("encod"))));
            EXPECT_EQ(losses(*document, request).size(), holdsTags || title.isEmpty() ? 0U : 1U);
            save(*document, request);
            EXPECT_EQ(packetsOf(each.file), packets);
            const auto again = open(each.file);
            ASSERT_TRUE(again);
            EXPECT_EQ(again->openWarnings(), document->openWarnings());
            EXPECT_EQ(again->audioMetadata().title(), holdsTags ? title : QString());
            EXPECT_EQ(again->audioDataFormat(), document->audioDataFormat());
            EXPECT_TRUE(samplesOf(*again) == before);
        }
        EXPECT_EQ(document->bitRate(), bitRate);
    }
}

TEST_F(KeptSoundTest, AllBytesOfAStreamOfPacketsAreCopied)
{
    makeSource();
    run("lame", QStringList{"--quiet", "-b", "128", "source.wav", "a.mp3"});
    const QByteArray sound = readBytes("a.mp3");
    // Something between the packets, and a cut one, are kept with them, and so is a tag behind them.
    const QByteArray stream =
        sound.first(10000) + test::noiseBytes(777, 9) + sound.sliced(10000) + sound.first(100);
    const QByteArray id3v1 = "TAG" + QByteArray(125, '\0');
    writeBytes("b.mp3", stream + id3v1);
    const auto document = open("b.mp3");
    ASSERT_TRUE(document);
    setTitle(*document, QStringLiteral("New"));
    EXPECT_TRUE(losses(*document, requestFor(*document)).empty());
    save(*document, requestFor(*document));
    EXPECT_TRUE(readBytes("b.mp3").endsWith(stream + id3v1));

    // What was kept is told as soon as a save encodes after all.
    document->undoableSetAudioTracks(nullptr);
    document->undoManager().undo();
    document->replaceDataAtOffset(0, 1, 0, ClipList());
    EXPECT_THAT(losses(*document, requestFor(*document)), testing::Contains(HasSubstr("bytes between")));
}

TEST_F(KeptSoundTest, FlacBlocksStayInTheirPlaces)
{
    makeSource();
    run("flac", QString("--silent -f -S 10x --padding 3000 -T TITLE=Old source.wav -o a.flac").split(' '));
    writeBytes("foreign", "abcd" + test::noiseBytes(500, 3));
    const QByteArray plain = readBytes("a.flac");
    // An application's block behind the description, and pictures in front of the padding.
    writeBytes("b.flac",
               plain.first(42) + QByteArray::fromHex("020001f8") + readBytes("foreign") + plain.sliced(42));
    const QByteArray picture = QByteArray::fromHex("ffd8ffe0") + test::noiseBytes(5000, 4);
    writeBytes("cover.jpg", picture);
    run("metaflac", {"--import-picture-from=3|image/jpeg|cover|10x10x24|cover.jpg", "b.flac"});
    const auto blocks = [this] {
        // Sizes, types and contents, but for those of the comments.
        return run("metaflac", {"--list", "--except-block-type=VORBIS_COMMENT", "b.flac"});
    };
    const QByteArray before = blocks();
    const QByteArray vendor = run("metaflac", {"--show-vendor-tag", "b.flac"});
    const auto document = open("b.flac");
    ASSERT_TRUE(document);
    ASSERT_EQ(document->audioMetadata().artwork().size(), 1);
    setTitle(*document, kLong);
    EXPECT_TRUE(losses(*document, requestFor(*document)).empty());
    save(*document, requestFor(*document));
    EXPECT_EQ(blocks(), before);
    EXPECT_EQ(run("metaflac", {"--show-vendor-tag", "b.flac"}), vendor);
    run("flac", {"--silent", "--test", "--warnings-as-errors", "b.flac"});

    // Pictures that somebody takes out are gone, and nothing else is.
    AudioMetadata metadata = document->audioMetadata();
    metadata.setArtwork({});
    document->undoableSetAudioMetadata(metadata);
    EXPECT_TRUE(losses(*document, requestFor(*document)).empty());
    save(*document, requestFor(*document));
    EXPECT_EQ(run("metaflac", {"--list", "--block-type=PICTURE", "b.flac"}), QByteArray());
    EXPECT_THAT(run("metaflac", {"--list", "--block-type=APPLICATION", "b.flac"}).toStdString(),
                HasSubstr("length: 504"));
}

QByteArray pictureBlock(const QByteArray& picture)
{
    const auto number = [](qsizetype value) {
        QByteArray bytes(4, Qt::Uninitialized);
        qToBigEndian(static_cast<quint32>(value), bytes.data());
        return bytes;
    };
    return number(3) + number(10) + "image/jpeg" + number(0) + QByteArray(16, '\0') + number(picture.size()) +
           picture;
}

TEST_F(KeptSoundTest, OggFilesKeepPicturesAndTheirPagesGetNewNumbersAroundDamage)
{
    makeSource();
    run("oggenc", QString("-Q -q 3 source.wav -o a.ogg").split(' '));
    run("flac", QString("--silent -f --ogg source.wav -o a.oga").split(' '));
    const QByteArray picture = QByteArray::fromHex("ffd8ffe0") + test::noiseBytes(60000, 4);
    run("vorbiscomment", {"-a", "a.ogg", "-t",
                          "METADATA_BLOCK_PICTURE=" + QString::fromLatin1(pictureBlock(picture).toBase64())});
    for (const std::string name : {"a.ogg", "a.oga"}) {
        SCOPED_TRACE(name);
        QByteArray bytes = readBytes(name);
        const qsizetype last = bytes.lastIndexOf("OggS");
        const qsizetype between = bytes.lastIndexOf("OggS", last - 1);
        const qsizetype inside = bytes.lastIndexOf("OggS", between - 1);
        bytes[inside + 100] = static_cast<char>(bytes[inside + 100] ^ 1);
        writeBytes(name, bytes.first(between) + QByteArray(500, 'r') + bytes.sliced(between));
        const auto document = open(name);
        ASSERT_TRUE(document);
        const TrackSamples before = samplesOf(*document);
        EXPECT_FALSE(document->openWarnings().isEmpty());
        for (const QString& title : {kLong, QStringLiteral("Short")}) {
            setTitle(*document, title);
            EXPECT_TRUE(losses(*document, requestFor(*document)).empty());
            save(*document, requestFor(*document));
            const auto again = open(name);
            ASSERT_TRUE(again);
            EXPECT_EQ(again->openWarnings(), document->openWarnings());
            EXPECT_EQ(again->audioMetadata().title(), title);
            EXPECT_EQ(again->audioMetadata().artwork(), document->audioMetadata().artwork());
            EXPECT_EQ(again->audioMetadata().artwork().size(), name == "a.ogg" ? 1 : 0);
            EXPECT_TRUE(samplesOf(*again) == before);
            EXPECT_TRUE(readBytes(name).contains(QByteArray(500, 'r')));
        }
        AudioMetadata metadata = document->audioMetadata();
        metadata.setArtwork({});
        document->undoableSetAudioMetadata(metadata);
        save(*document, requestFor(*document));
        EXPECT_TRUE(open(name)->audioMetadata().artwork().isEmpty());
        EXPECT_TRUE(samplesOf(*open(name)) == before);
    }
}

TEST_F(KeptSoundTest, FilesOfSeveralStreamsAreEncoded)
{
    makeSource();
    run("oggenc", QString("-Q -q 3 -s 1 source.wav -o a.ogg").split(' '));
    run("oggenc", QString("-Q -q 3 -s 2 source.wav -o b.ogg").split(' '));
    writeBytes("chain.ogg", readBytes("a.ogg") + readBytes("b.ogg"));
    const auto document = open("chain.ogg");
    ASSERT_TRUE(document);
    EXPECT_THAT(losses(*document, requestFor(*document)), testing::Contains(HasSubstr("encoded once more")));
    save(*document, requestFor(*document));
    EXPECT_EQ(open("chain.ogg")->numberOfFrames(), static_cast<int64_t>(2 * numFrames));
}

TEST_F(KeptSoundTest, AFilmKeepsItsTimesWhenTagsAndChaptersChange)
{
    makeSource();
    ffmpeg(
        "-f lavfi -i testsrc=size=64x48:rate=10:duration=1 -itsoffset 0.2 -i source.wav -c:v mpeg4 -c:a aac "
        "-shortest a.mp4");
    const QString name = QStringLiteral("a.mp4");
    const auto packets = [&] {
        // Sizes, times and sums of all packets of both streams.
        return run("ffmpeg", {"-v", "error", "-i", name, "-map", "0:v", "-map", "0:a", "-c", "copy",
                              "-copyts", "-f", "framemd5", "-"});
    };
    const QByteArray before = packets();
    const auto document = open("a.mp4");
    ASSERT_TRUE(document);
    const TrackSamples samples = samplesOf(*document);
    setTitle(*document, kLong);
    document->addMarker(markerAt(5000, QStringLiteral("a chapter")));
    EXPECT_TRUE(losses(*document, requestFor(*document)).empty());
    save(*document, requestFor(*document));
    EXPECT_EQ(packets(), before);
    auto again = open("a.mp4");
    ASSERT_TRUE(again);
    EXPECT_TRUE(samplesOf(*again) == samples);
    ASSERT_EQ(again->audioMarkers()->size(), 1U);
    EXPECT_EQ(again->audioMarkers()->front()->position(), 5000);

    // Moved and taken away again, by a second and a third save.
    document->setPosition(7000, document->audioMarkers()->front());
    save(*document, requestFor(*document));
    EXPECT_EQ(packets(), before);
    again = open("a.mp4");
    ASSERT_TRUE(again);
    EXPECT_EQ(again->audioMarkers()->front()->position(), 7000);
    document->undoableSetAudioMarkers(nullptr);
    save(*document, requestFor(*document));
    EXPECT_EQ(packets(), before);
    EXPECT_TRUE(open("a.mp4")->audioMarkers()->empty());

    // Sound alone, under a name that says so, is a new file.
    const SaveRequest extract = requestFor(*document, "a.m4a");
    EXPECT_THAT(losses(*document, extract), testing::Contains(HasSubstr("encoded once more")));
}

TEST_F(KeptSoundTest, AnEditOfTheSoundEndsItAndUndoBringsItBack)
{
    makeSource();
    run("lame", QStringList{"--quiet", "-b", "128", "source.wav", "a.mp3"});
    run("flac", QStringList{"--silent", "-f", "source.wav", "-o", "a.flac"});
    for (const char* const name : {"a.mp3", "a.flac"}) {
        SCOPED_TRACE(name);
        const std::string packets = packetsOf(name);
        const auto document = open(name);
        ASSERT_TRUE(document);
        const SaveRequest request = requestFor(*document);
        const bool isLossy = document->audioFile()->encodesWithLoss();
        const auto silence = std::make_shared<AudioClip>(1);
        document->replaceDataAtOffset(1000, 1, 0, ClipList(silence));
        EXPECT_EQ(losses(*document, request).size(), isLossy ? 1U : 0U);
        save(*document, request);
        EXPECT_NE(packetsOf(name), packets);
        // Back to what was opened, although the file is another one by now.
        document->undoManager().undo();
        EXPECT_TRUE(losses(*document, request).empty());
        save(*document, request);
        EXPECT_EQ(packetsOf(name), packets);

        // The same sound put together again of two pieces, and tracks of another order.
        const ClipList first = document->clipsAtOffset(0, 30000, 0);
        document->replaceDataAtOffset(0, 30000, 0, ClipList());
        document->replaceDataAtOffset(0, 0, 0, first);
        EXPECT_TRUE(losses(*document, request).empty());
        save(*document, requestFor(*document, std::string("b_") + name));
        EXPECT_EQ(packetsOf(std::string("b_") + name), packets);
        const TrackList tracks = document->audioTracks();
        document->undoableSetAudioTracks(std::make_shared<const std::vector<AudioTrackPtr>>(
            std::vector<AudioTrackPtr>{(*tracks)[1], (*tracks)[0]}));
        save(*document, requestFor(*document, std::string("c_") + name));
        EXPECT_NE(packetsOf(std::string("c_") + name), packets);
    }
}

TEST_F(KeptSoundTest, AnotherEncodingOrRateEndsIt)
{
    makeSource();
    run("lame", QStringList{"--quiet", "-b", "128", "source.wav", "a.mp3"});
    run("flac", QStringList{"--silent", "-f", "source.wav", "-o", "a.flac"});
    const std::string packets = packetsOf("a.mp3");
    const auto document = open("a.mp3");
    ASSERT_TRUE(document);
    SaveRequest request = requestFor(*document, "b.mp3");
    request.operation = SaveOperation::saveTo;
    request.optionTag = 128000;
    save(*document, request);
    EXPECT_EQ(packetsOf("b.mp3"), packets);
    request.optionTag = 192000;
    EXPECT_THAT(losses(*document, request), ElementsAre(HasSubstr("encoded once more")));
    save(*document, request);
    EXPECT_NE(packetsOf("b.mp3"), packets);
    document->undoableSetSampleRate(48000.0);
    EXPECT_THAT(losses(*document, requestFor(*document)), ElementsAre(HasSubstr("encoded once more")));

    const auto flac = open("a.flac");
    ASSERT_TRUE(flac);
    request = requestFor(*flac, "b.flac");
    request.optionTag = 24;
    save(*flac, request);
    EXPECT_NE(packetsOf("b.flac"), packetsOf("a.flac"));
    EXPECT_EQ(open("b.flac")->sampleSize(), 24);
}

TEST_F(KeptSoundTest, SoundOfAFileThatWasChangedIsEncoded)
{
    makeSource();
    run("lame", QStringList{"--quiet", "-b", "128", "source.wav", "a.mp3"});
    const auto document = open("a.mp3");
    ASSERT_TRUE(document);
    const TrackSamples before = samplesOf(*document);
    QByteArray changed = readBytes("a.mp3");
    changed.replace(5000, 20000, QByteArray(20000, '\0'));
    writeBytes("a.mp3", changed);
    const SaveRequest request = requestFor(*document, "b.mp3");
    EXPECT_THAT(losses(*document, request), ElementsAre(HasSubstr("encoded once more")));
    save(*document, request);
    ASSERT_EQ(document->saveWarnings().size(), 1);
    EXPECT_THAT(document->saveWarnings()[0].toStdString(), HasSubstr("were not copied"));
    const auto again = open("b.mp3");
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->openWarnings().isEmpty());
    EXPECT_EQ(again->numberOfFrames(), static_cast<int64_t>(before.front().size()));
}

TEST_F(KeptSoundTest, FilesWithoutAFrameStayThat)
{
    makeSource();
    run("flac", QStringList{"--silent", "-f", "source.wav", "-o", "a.flac"});
    // The description alone: no number of frames, no sum of the samples.
    QByteArray description = readBytes("a.flac").first(42);
    description[4] = '\x80';
    description[21] = static_cast<char>(description[21] & 0xF0);
    writeBytes("a.flac", description.replace(22, 20, QByteArray(20, '\0')));
    const auto document = open("a.flac");
    ASSERT_TRUE(document);
    setTitle(*document, QStringLiteral("Nothing"));
    save(*document, requestFor(*document));
    const auto again = open("a.flac");
    ASSERT_TRUE(again);
    EXPECT_EQ(again->numberOfFrames(), 0);
    EXPECT_EQ(again->audioMetadata().title(), QStringLiteral("Nothing"));
}

} // namespace velloria::kit
