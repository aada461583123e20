#include "formats/kit/CompressedFileKit.h"
#include "formats/mpeg4/Mpeg4AACFile.h"
#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"

namespace velloria::test
{

class Mpeg4FileTest : public CompressedFileTest
{
};

TEST_F(Mpeg4FileTest, KeepsIntegersOfAppleLosslessExactly)
{
    for (const uint32_t bits : {16U, 24U}) {
        SCOPED_TRACE(bits);
        Sound source = testSound(30011, 2, 48000.0);
        const auto scale = static_cast<float>(1 << (bits - 1));
        for (float& sample : source.samples)
            sample = std::round(sample * scale) / scale;
        source.samples[7] = -1.0F;
        Mpeg4AppleLosslessFile writer(48000.0, bits, 2);
        save("a.m4a", source, writer);
        EXPECT_EQ(floatsFromFfmpeg("a.m4a"), source.samples);
        const auto file = open("a.m4a");
        ASSERT_TRUE(file);
        EXPECT_EQ(file->fileFormatUTI(), "public.mpeg-4-audio.apple-lossless");
        EXPECT_EQ(file->bitsPerSample(), bits);
        EXPECT_EQ(file->numberOfFrames(), 30011);
        EXPECT_EQ(decoded(*file).samples, source.samples);
        // What another program writes.
        ffmpeg(QStringLiteral("-i a.m4a -c:a alac -sample_fmt %1 b.m4a").arg(bits == 16 ? "s16p" : "s32p"));
        EXPECT_EQ(decoded(*open("b.m4a")).samples, source.samples);
    }
}

TEST_F(Mpeg4FileTest, KeepsAppleLosslessSoundOfAFewFramesWhenItIsSavedAgain)
{
    for (const char* const extension : {"m4a", "mov"}) {
        for (const int64_t numFrames : {1, 2, 4097}) {
            // Of this one even ffmpeg cannot read what it writes.
            if (numFrames == 1 && std::string(extension) == "mov")
                continue;
            SCOPED_TRACE(testing::Message() << extension << " " << numFrames);
            Sound source = testSound(numFrames, 2, 44100.0);
            for (float& sample : source.samples)
                sample = std::round(sample * 32768.0F) / 32768.0F;
            source.samples[0] = 0.25F;
            writeSource("a.wav", source);
            const std::string name = std::string("a.") + extension;
            ffmpeg(QStringLiteral("-i a.wav -c:a alac -sample_fmt s16p a.%1").arg(extension));
            for (float& sample : source.samples)
                sample = -sample;
            const auto opened = open(name);
            ASSERT_TRUE(opened);
            Mpeg4AppleLosslessFile writer(44100.0, 16, 2);
            writer.setOpenedFile(opened);
            writer.setNumberOfFrames(numFrames);
            const std::string saved = std::string("b.") + extension;
            save(saved, source, writer);
            EXPECT_EQ(floatsFromFfmpeg(QString::fromStdString(saved)), source.samples);
            EXPECT_EQ(decoded(*open(saved)).samples, source.samples);
        }
    }
}

TEST_F(Mpeg4FileTest, GivesAacBackAtItsLengthPlaceAndLevel)
{
    const struct {
        double sampleRate;
        size_t numChannels;
        int64_t bitRate;
        int64_t numFrames;
    } cases[] = {{44100.0, 2, 160000, 70001},
                 {48000.0, 1, 96000, 50000},
                 {48000.0, 3, 320000, 50000},
                 {22050.0, 2, 96000, 30001},
                 {44100.0, 1, 0, 1}};
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.sampleRate << " " << each.numFrames);
        const Sound source = testSound(each.numFrames, each.numChannels, each.sampleRate);
        Mpeg4AACFile writer(each.sampleRate, 16, static_cast<uint32_t>(each.numChannels));
        writer.setBitRate(each.bitRate);
        save("a.m4a", source, writer);
        const auto file = open("a.m4a");
        ASSERT_TRUE(file);
        EXPECT_EQ(file->fileFormatUTI(), "public.mpeg-4-audio.aac");
        EXPECT_EQ(fourCharText(file->dataFormat()), "aac ");
        const Sound got = decoded(*file);
        ASSERT_EQ(got.numFrames(), each.numFrames);
        for (size_t c = 0; c < each.numChannels && each.numFrames > 1; ++c) {
            EXPECT_EQ(lagOf(got.channel(c), source.channel(c)), 0);
            EXPECT_NEAR(20.0 * std::log10(rmsOf(got.channel(c)) / rmsOf(source.channel(c))), 0.0, 0.1);
        }
        const QJsonObject stream = probed("a.m4a")["streams"].toArray()[0].toObject();
        EXPECT_EQ(stream["duration_ts"].toInteger(), each.numFrames);
        EXPECT_EQ(stream["codec_name"].toString(), "aac");
    }
}

TEST_F(Mpeg4FileTest, KeepsPicturesInTheirFormat)
{
    const AudioMetadata metadata = metadataWithEverything();
    Mpeg4AACFile writer(44100.0, 16, 1);
    writer.setMetadata(metadata);
    save("a.m4a", testSound(20000, 1), writer);
    const auto file = open("a.m4a");
    ASSERT_TRUE(file);
    ASSERT_EQ(file->metadata().artwork().size(), 2);
    for (qsizetype i = 0; i < 2; ++i) {
        EXPECT_EQ(file->metadata().artwork()[i].pictureData(), metadata.artwork()[i].pictureData());
        EXPECT_EQ(file->metadata().artwork()[i].imageFormat(), metadata.artwork()[i].imageFormat());
    }
    const QByteArray seen =
        run("/usr/bin/python3", {"-c", "import mutagen.mp4 as m; "
                                       "print([int(c.imageformat) for c in m.MP4(\"a.m4a\")[\"covr\"]])"});
    EXPECT_EQ(seen.trimmed(), "[14, 13]");
    EXPECT_EQ(probed("a.m4a")["format"].toObject()["tags"].toObject()["album_artist"].toString(),
              "album artist – Ünï 音楽 שלום");
}

TEST_F(Mpeg4FileTest, ReadsTagsOfOthersAndTellsThoseItCannotKeep)
{
    writeSource("source.wav", testSound(20000, 1));
    ffmpeg("-i source.wav -c:a aac -metadata title=T -metadata genre=Rock -metadata track=2/5 -metadata "
           "comment=C a.m4a");
    run("/usr/bin/python3", {"-c", "import mutagen.mp4 as m; f = m.MP4(\"a.m4a\"); "
                                   "f.tags[\"----:com.apple.iTunes:MOOD\"] = [b\"X\"]; "
                                   "f.tags[\"----:com.apple.iTunes:ISRC\"] = [m.MP4FreeForm(b\"DE1\", 0)]; "
                                   "f.tags[\"\\xa9ART\"] = [\"One\", \"Two\"]; "
                                   "f.tags[\"\\xa9lyr\"] = [\"la \" * 100000]; f.save()"});
    const auto file = open("a.m4a");
    ASSERT_TRUE(file);
    const AudioMetadata& tags = file->metadata();
    EXPECT_EQ(tags.title(), "T");
    EXPECT_EQ(tags.genre(), "Rock");
    EXPECT_EQ(tags.trackNumber(), 2);
    EXPECT_EQ(tags.comments(), "C");
    EXPECT_EQ(tags.artist(), "One; Two");
    EXPECT_EQ(tags.lyrics().size(), 300000);
    // A save that makes a new file tells what a copy with new sound keeps.
    const auto namesNotInModel = [&](ItemKind kind) {
        return file->ledger().namesOf(kind,
                                      [](const FileItem& item) { return item.keeping == Keeping::asBytes; });
    };
    EXPECT_EQ(namesNotInModel(ItemKind::tag), QStringList("MOOD"));
    EXPECT_EQ(tags.isrc(), "DE1");
    EXPECT_EQ(namesNotInModel(ItemKind::value), QStringList("“One”, “Two” become “One; Two”"));
}

TEST_F(Mpeg4FileTest, OpensEveryLayoutOfTheContainer)
{
    const Sound source = testSound(50000, 2);
    writeSource("source.wav", source);
    const struct {
        const char* line;
        const char* name;
    } cases[] = {
        {"-i source.wav -c:a alac", "end.m4a"},
        {"-i source.wav -c:a alac -movflags +faststart", "front.m4a"},
        {"-i source.wav -c:a alac -movflags frag_keyframe+empty_moov -frag_duration 300000",
         "fragmented.mp4"},
        {"-i source.wav -c:a alac", "movie.mov"},
        {"-f lavfi -i testsrc=d=1:s=64x64 -i source.wav -map 0 -map 1 -c:v mpeg4 -c:a alac", "film.mp4"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        ffmpeg(QStringLiteral("%1 -sample_fmt s16p %2").arg(each.line, each.name));
        const auto file = open(each.name);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->fileFormatUTI(), "public.mpeg-4-audio.apple-lossless");
        EXPECT_EQ(decoded(*file).numFrames(), 50000);
    }
}

TEST_F(Mpeg4FileTest, RefusesOrOpensInPartWhatIsDamaged)
{
    const LogCapture quiet;
    Mpeg4AACFile writer(44100.0, 16, 2);
    writer.setMetadata(metadataWithEverything());
    writer.setMarkers(markerList({{100, "a"}, {20000, "b"}}));
    save("a.m4a", testSound(50000, 2), writer);
    const QByteArray good = readBytes("a.m4a");
    QByteArray withoutTables = good;
    withoutTables.replace("moov", "skip");
    writeBytes("tables.m4a", withoutTables);
    MaybeError error;
    EXPECT_FALSE(AudioFileRegistry::audioFileWithPath(path("tables.m4a"), &error));
    EXPECT_TRUE(error && !error->message.isEmpty());
    std::mt19937 random(11);
    for (int i = 0; i < 60; ++i) {
        QByteArray bytes = i % 3 == 0 ? good.first(static_cast<qsizetype>(random() % good.size())) : good;
        for (int k = 0; k < 20 && !bytes.isEmpty(); ++k)
            bytes[static_cast<qsizetype>(random() % std::min<size_t>(bytes.size(), 4000))] ^= 1
                                                                                              << random() % 8;
        writeBytes("b.m4a", bytes);
        error.reset();
        const auto file = AudioFileRegistry::audioFileWithPath(path("b.m4a"), &error);
        EXPECT_NE(file != nullptr, error.has_value());
        SilentProgress progress;
        if (file && file->requiresConversion())
            file->convertedAudioClips(progress, &error);
    }
}

TEST_F(Mpeg4FileTest, OffersWhatTheEncodersCanDo)
{
    Mpeg4AACFile aac(44100.0, 16, 2);
    const FileOptions rates = aac.fileOptions();
    EXPECT_EQ(rates.label, "Bit Rate:");
    EXPECT_EQ(rates.items.front().tag, 32000);
    EXPECT_EQ(rates.items.back().tag, 384000);
    EXPECT_EQ(rates.selectedTag, 128000);
    Mpeg4AACFile narrow(8000.0, 16, 1);
    narrow.setBitRate(320000);
    EXPECT_EQ(narrow.fileOptions().selectedTag, 48000);
    Mpeg4AppleLosslessFile lossless(44100.0, 32, 2);
    ASSERT_EQ(lossless.fileOptions().items.size(), 2U);
    EXPECT_EQ(lossless.fileOptions().selectedTag, 24);
    lossless.validateAndCorrectParameters();
    EXPECT_EQ(lossless.bitsPerSample(), 24U);
}

} // namespace velloria::test
