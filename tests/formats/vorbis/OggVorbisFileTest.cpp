#include "formats/vorbis/OggVorbisFile.h"

#include "formats/kit/DecodingTestKit.h"
#include "formats/vorbis/VorbisStream.h"
#include "formats/wave/WaveFile.h"

namespace velloria
{
namespace
{

using namespace test;

class OggVorbisFileTest : public DecodingTest
{
protected:
    /// A tone of its own frequency in each channel, low enough for the channel of low frequencies.
    static Channels tones(size_t numChannels, size_t numFrames)
    {
        Channels channels(numChannels, FloatBuffer(numFrames));
        for (size_t c = 0; c < numChannels; ++c) {
            for (size_t i = 0; i < numFrames; ++i)
                channels[c][i] =
                    0.5F * std::sin(0.002F * static_cast<float>(c + 1) * static_cast<float>(i % 100000));
        }
        return channels;
    }

    /// Writes tones with the reference encoder.
    void encode(const std::string& name, size_t numFrames, const QStringList& options = {},
                double rate = 44100.0) const
    {
        WaveFile file(rate, 16, 2);
        save(file, "in.wav", documentOfChannels(tones(2, numFrames), rate));
        run("oggenc", QStringList{"-Q", "-o", argument(name)} + options + QStringList(argument("in.wav")));
    }

    Channels decodedByFFmpeg(const std::string& name, size_t numChannels) const
    {
        return channelsOfFloats(run("ffmpeg", {"-v", "error", "-i", argument(name), "-f", "f32le", "-"}),
                                numChannels);
    }
};

TEST_F(OggVorbisFileTest, SectionsJoinToWhatDecodingInOrderGives)
{
    // Real music, long enough for several sections.
    run("ffmpeg",
        {"-v", "error", "-t", "60", "-i", "/usr/share/games/asc/music/frontiers.mp3", argument("music.wav")});
    run("oggenc", {"-Q", "-o", argument("music.ogg"), argument("music.wav")});
    const auto file = opened("music.ogg");
    const Channels channels = channelsOf(*file);
    EXPECT_EQ(file->warnings(), QStringList());
    int status = 0;
    const auto stream = VorbisStream::open(FileHandle::openForReading(path("music.ogg")), &status);
    ASSERT_TRUE(stream);
    size_t numFrames = 0;
    float** block = nullptr;
    while (const int64_t count = stream->read(&block)) {
        for (size_t c = 0; c < 2; ++c)
            ASSERT_TRUE(std::equal(block[c], block[c] + count, channels[c].begin() + numFrames)) << numFrames;
        numFrames += static_cast<size_t>(count);
    }
    EXPECT_EQ(numFrames, channels[0].size());
    EXPECT_EQ(static_cast<int64_t>(numFrames), opened("music.wav")->numberOfFrames());
}

TEST_F(OggVorbisFileTest, OtherDecodersHearTheSame)
{
    for (const size_t numFrames : {1, 100, 44100, 700001}) {
        encode("in.ogg", numFrames);
        const Channels ours = decoded("in.ogg");
        const Channels theirs = decodedByFFmpeg("in.ogg", 2);
        ASSERT_EQ(ours.size(), 2U);
        EXPECT_EQ(ours[0].size(), numFrames);
        const QByteArray judged = run("oggdec", {"-Q", "-R", "-o", "-", argument("in.ogg")});
        EXPECT_EQ(static_cast<size_t>(judged.size()), 4 * numFrames);
        EXPECT_LT(difference(ours[0], theirs[0]) + difference(ours[1], theirs[1]), 1e-6) << numFrames;
    }
}

TEST_F(OggVorbisFileTest, OtherDecodersReadWhatIsWritten)
{
    const struct {
        size_t numChannels;
        size_t numFrames;
        double rate;
        int tag;
    } cases[] = {{2, 100000, 44100.0, 106}, {1, 100000, 8000.0, 101}, {2, 300000, 44100.0, 128000},
                 {2, 30000, 192000.0, 110}, {2, 1, 44100.0, 106},     {3, 30000, 48000.0, 105},
                 {4, 30000, 48000.0, 105},  {5, 30000, 48000.0, 105}, {6, 30000, 48000.0, 105},
                 {7, 30000, 48000.0, 105},  {8, 30000, 48000.0, 105}, {12, 30000, 48000.0, 105}};
    for (const auto& c : cases) {
        const Channels original = tones(c.numChannels, c.numFrames);
        OggVorbisFile file(c.rate, 16, static_cast<uint32_t>(c.numChannels));
        file.configureWithPopUpTag(c.tag);
        save(file, "out.ogg", documentOfChannels(original, c.rate));
        const QByteArray info = run("ogginfo", {argument("out.ogg")});
        EXPECT_FALSE(info.contains("WARNING")) << info.toStdString();
        const Channels ours = decoded("out.ogg");
        const Channels theirs = decodedByFFmpeg("out.ogg", c.numChannels);
        ASSERT_EQ(ours.size(), c.numChannels);
        for (size_t channel = 0; channel < c.numChannels; ++channel) {
            ASSERT_EQ(ours[channel].size(), c.numFrames) << c.numChannels;
            // The tones tell the channels apart, so none is in another's place.
            EXPECT_LT(difference(ours[channel], original[channel]), 0.1) << c.numChannels << channel;
            // Beyond eight channels there is no order to agree on.
            const bool agrees = c.numChannels > 8 || difference(ours[channel], theirs[channel]) < 1e-6;
            EXPECT_TRUE(agrees) << c.numChannels << channel;
        }
    }
}

TEST_F(OggVorbisFileTest, SettingsAreThoseOfTheOption)
{
    const struct {
        int tag;
        QStringList options;
    } cases[] = {
        {106, {"-q", "6"}}, {101, {"-q", "1"}}, {110, {"-q", "10"}}, {128000, {"--managed", "-b", "128"}}};
    const auto nominal = [this](const std::string& name) {
        const QByteArray info = run("ogginfo", {argument(name)});
        const qsizetype start = info.indexOf("Nominal bitrate:");
        return info.mid(start, info.indexOf('\n', start) - start);
    };
    for (const auto& c : cases) {
        encode("theirs.ogg", 200000, c.options);
        OggVorbisFile file(44100.0, 16, 2);
        file.configureWithPopUpTag(c.tag);
        file.validateAndCorrectParameters();
        save(file, "ours.ogg", documentOf(opened("in.wav")));
        EXPECT_EQ(nominal("ours.ogg"), nominal("theirs.ogg")) << c.tag;
        EXPECT_NEAR(static_cast<double>(bytesOf("ours.ogg").size()) /
                        static_cast<double>(bytesOf("theirs.ogg").size()),
                    1.0, 0.05);
    }
    OggVorbisFile unset(44100.0, 16, 2);
    unset.validateAndCorrectParameters();
    EXPECT_EQ(unset.encodingQuality(), 1.7F);
    EXPECT_EQ(unset.bitRate(), 0);
    // A bit rate taken over from another file counts where Vorbis has it, else the quality does.
    for (const int64_t inherited : {128000, 1411200, 320000}) {
        OggVorbisFile file(44100.0, 16, 1);
        file.setBitRate(inherited);
        file.validateAndCorrectParameters();
        EXPECT_EQ(file.bitRate(), inherited == 128000 ? inherited : 0);
        EXPECT_EQ(file.encodingQuality(), inherited == 128000 ? 0.0F : 1.7F);
    }
}

TEST_F(OggVorbisFileTest, ASaveOfAnOpenedFileIsEncodedAsThatWas)
{
    const struct {
        QStringList options;
        int tag;
    } cases[] = {{{"-q", "3"}, 103},
                 {{"-q", "7.6"}, 108},
                 {{"-q", "-1"}, 101},
                 {{"-b", "96"}, 96000},
                 {{"--managed", "-b", "96"}, 96000},
                 {{"--managed", "-b", "100"}, 102}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options.join(' ').toStdString());
        encode("theirs.ogg", 100000, c.options);
        std::shared_ptr<AudioFile> before = opened("theirs.ogg");
        // A second save of the document goes by the first one.
        for (int i = 0; i < 2; ++i) {
            const auto file = std::make_shared<OggVorbisFile>(44100.0, 16, 2);
            file->setBitRate(before->bitRate());
            file->setOpenedFile(before);
            file->validateAndCorrectParameters();
            EXPECT_EQ(file->fileOptions().selectedTag, c.tag);
            OggVorbisFile asked(44100.0, 16, 2);
            asked.configureWithPopUpTag(c.tag);
            EXPECT_EQ(file->encodingQuality(), asked.encodingQuality());
            EXPECT_EQ(file->bitRate(), asked.bitRate());
            file->setOpenedFile(nullptr);
            before = file;
        }
        OggVorbisFile chosen(44100.0, 16, 2);
        chosen.setOpenedFile(before);
        chosen.configureWithPopUpTag(110);
        chosen.validateAndCorrectParameters();
        EXPECT_EQ(chosen.encodingQuality(), 2.0F);
    }
}

TEST_F(OggVorbisFileTest, TheSameSoundAndTagsGiveTheSameBytesAndOthersAnotherStream)
{
    const auto serialNumber = [this](const FrameSource& document, const QString& title, const char* name) {
        OggVorbisFile file(document.sampleRate(), 16, 1);
        AudioMetadata metadata;
        metadata.setTitle(title);
        file.setMetadata(metadata);
        save(file, name, document);
        return bytesOf(name).mid(14, 4);
    };
    const auto sound = documentOfChannels(noiseChannels(1, 30000), 44100.0);
    const QByteArray first = serialNumber(sound, "A", "first.ogg");
    EXPECT_EQ(serialNumber(sound, "A", "again.ogg"), first);
    EXPECT_EQ(bytesOf("again.ogg"), bytesOf("first.ogg"));
    EXPECT_NE(serialNumber(sound, "B", "other.ogg"), first);
    EXPECT_NE(serialNumber(silence(30000), "A", "other.ogg"), first);
    EXPECT_NE(serialNumber(documentOfChannels(noiseChannels(1, 30001), 44100.0), "A", "other.ogg"), first);
}

TEST_F(OggVorbisFileTest, OffersQualitiesAndTheBitRatesThatApply)
{
    OggVorbisFile file(8000.0, 16, 1);
    file.setNumberOfFrames(16000);
    const FileOptions options = file.fileOptions();
    EXPECT_EQ(options.label, "Quality:");
    EXPECT_EQ(options.selectedTag, 106);
    QStringList items;
    for (const FileOption& item : options.items)
        items.append((item.isEnabled ? "" : "-") + QString("%1 %2").arg(item.tag).arg(item.title));
    EXPECT_EQ(
        items.join(", "),
        "-0 Variable Bit Rate:, 110 10 (best quality), 109 9, 108 8, 107 7, 106 6 (recommended), 105 5, "
        "104 4, 103 3, 102 2, 101 1 (smallest files), -0 Average Bit Rate:, 8000 8 kbps, 16000 16 kbps, "
        "20000 20 kbps, 24000 24 kbps, 32000 32 kbps, 40000 40 kbps, 48000 48 kbps, 56000 56 kbps");
    EXPECT_EQ(file.estimatedFileSizeWithTag(106), -1.0);
    EXPECT_EQ(file.estimatedFileSizeWithTag(64000), 16000.0);
    EXPECT_EQ(OggVorbisFile(44100.0, 16, 2).applicableBitRates().back(), 320000);
}

TEST_F(OggVorbisFileTest, SettingsThatTheEncoderDoesNotTakeAreAnError)
{
    SilentProgress progress;
    MaybeError error;
    OggVorbisFile file(8000.0, 16, 1);
    file.setFileHandle(newFile("out.ogg"));
    file.configureWithPopUpTag(320000);
    EXPECT_FALSE(file.saveDocument(silence(100), nullptr, progress, &error));
    EXPECT_EQ(error->message, "Ogg Vorbis cannot encode 1 channels at 8000 Hz with 320 kbps. Please choose "
                              "another bit rate, or a quality.");
    OggVorbisFile fast(500000.0, 16, 1);
    fast.setFileHandle(newFile("out.ogg"));
    EXPECT_FALSE(fast.saveDocument(silence(100), nullptr, progress, &error));
    EXPECT_EQ(error->message, "Ogg Vorbis cannot encode 1 channels at 500000 Hz with this quality. Please "
                              "choose another quality or sample rate.");
}

TEST_F(OggVorbisFileTest, EveryTagIsWrittenUnderItsKeyAndReadAgain)
{
    const auto [metadata, lines] = everyComment();
    OggVorbisFile file(44100.0, 16, 1);
    file.setMetadata(metadata);
    save(file, "out.ogg", silence(100));
    EXPECT_TRUE(run("vorbiscomment", {"-R", "-l", argument("out.ogg")}) ==
                "ENCODER=Velloria, libVorbis 1.3.1\n" + lines);
    EXPECT_EQ(opened("out.ogg")->metadata().dictionary(), metadata.dictionary());

    run("vorbiscomment",
        {"-R", "-w", "-t", "TITLE=Song", "-t", "DATE=2004", "-t", "Album Artist=x", argument("out.ogg")});
    const auto reread = opened("out.ogg");
    EXPECT_EQ(reread->metadata().title(), "Song");
    EXPECT_EQ(reread->metadata().albumArtist(), "x");
    EXPECT_EQ(reread->metadata().year(), "2004");
    EXPECT_EQ(reread->tagsNotKept(), QStringList());
}

TEST_F(OggVorbisFileTest, CanBeCancelledAtAnyTime)
{
    OggVorbisFile file(44100.0, 16, 2);
    const TrackDocument document = documentOfChannels(tones(2, 600000));
    save(file, "short.ogg", silence(50000, 2));
    save(file, "long.ogg", document);
    for (const auto& [name, patience] :
         {std::pair("short.ogg", 1), {"short.ogg", 2}, {"long.ogg", 0}, {"long.ogg", 2}}) {
        expectCancelledOpening(name, patience);
    }
    expectCancelledSave<OggVorbisFile>(document, 100000);
}

TEST_F(OggVorbisFileTest, AFullDiskEndsOpeningAndSavingWithAnError)
{
    expectErrorsOnAFullDisk<OggVorbisFile>("in.ogg", 300'000);
}

} // namespace
} // namespace velloria
