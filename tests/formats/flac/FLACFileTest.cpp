#include "formats/flac/FLACFile.h"

#include "document/clips/AudioData.h"
#include "formats/kit/DecodingTestKit.h"
#include "formats/wave/WaveFile.h"

namespace velloria
{
namespace
{

using namespace test;

/// Interleaved little-endian integers in whole bytes, the value in the low bits.
QByteArray packed(const std::vector<std::vector<int32_t>>& channels, int bits)
{
    QByteArray bytes;
    for (size_t i = 0; i < channels[0].size(); ++i) {
        for (const std::vector<int32_t>& channel : channels)
            bytes.append(reinterpret_cast<const char*>(&channel[i]), (bits + 7) / 8);
    }
    return bytes;
}

class FLACFileTest : public DecodingTest
{
protected:
    /// The integers that other decoders find in a file: the reference decoder, which checks it on the way.
    QByteArray judged(const std::string& name, int bits) const
    {
        run("flac", {"-t", "-s", argument(name)});
        if (bits % 8 == 0)
            return run("flac", {"-d", "-s", "-c", "--force-raw-format", "--endian=little", "--sign=signed",
                                argument(name)});
        const QString format = bits > 16 ? "s24le" : "s16le";
        return run("ffmpeg", {"-v", "error", "-i", argument(name), "-f", format, "-"});
    }

    /// Noise that reaches both ends of the scale.
    static std::vector<int32_t> integers(int bits, size_t numFrames, unsigned seed)
    {
        std::mt19937 generator(seed);
        std::uniform_int_distribution<int64_t> value(-(int64_t{1} << (bits - 1)),
                                                     (int64_t{1} << (bits - 1)) - 1);
        std::vector<int32_t> samples = {static_cast<int32_t>(value.min()), static_cast<int32_t>(value.max())};
        while (samples.size() < numFrames)
            samples.push_back(static_cast<int32_t>(value(generator)));
        return samples;
    }

    static FloatBuffer floatsOf(const std::vector<int32_t>& samples, int bits)
    {
        FloatBuffer floats;
        for (const int32_t sample : samples)
            floats.push_back(static_cast<float>(std::ldexp(static_cast<double>(sample), 1 - bits)));
        return floats;
    }
};

TEST_F(FLACFileTest, FullScaleSurvivesBothWaysAtEverySampleSize)
{
    for (const int bits : {8, 12, 16, 20, 24}) {
        const std::vector<std::vector<int32_t>> stored = {integers(bits, 10000, 1), integers(bits, 10000, 2),
                                                          integers(bits, 10000, 3)};
        Channels floats;
        for (const auto& samples : stored)
            floats.push_back(floatsOf(samples, bits));
        FLACFile file(44100.0, static_cast<uint32_t>(bits), 3);
        save(file, "out.flac", documentOfChannels(floats));
        std::vector<std::vector<int32_t>> widened = stored;
        const int wideBits = (bits + 7) / 8 * 8;
        for (std::vector<int32_t>& samples : widened) {
            for (int32_t& sample : samples)
                sample *= 1 << (wideBits - bits);
        }
        EXPECT_TRUE(judged("out.flac", bits) == packed(widened, bits)) << bits;

        const auto reread = opened("out.flac");
        EXPECT_TRUE(channelsOf(*reread) == floats) << bits;
        EXPECT_EQ(reread->bitsPerSample(), static_cast<uint32_t>(bits));
        EXPECT_EQ(reread->warnings(), QStringList());
        // An opened file can be saved in another format without a loss, too.
        std::vector<ClipList> tracks;
        for (const auto& clip : clipsOf(*reread))
            tracks.emplace_back(clip);
        WaveFile wave(44100.0, static_cast<uint32_t>(wideBits), 3);
        save(wave, "out.wav", TrackDocument(tracks));
        EXPECT_TRUE(signedSamples(*opened("out.wav")) == packed(widened, bits)) << bits;
    }
}

TEST_F(FLACFileTest, StoredIntegersOf32BitsAreCarriedOverExactly)
{
    const std::vector<std::vector<int32_t>> stored = {integers(32, 100000, 1), integers(32, 100000, 2)};
    makeFile("in.wav", wave({1, 2, 44100, 32}, packed(stored, 32)));
    FLACFile file(44100.0, 32, 2);
    save(file, "out.flac", documentOf(opened("in.wav")));
    EXPECT_TRUE(judged("out.flac", 32) == packed(stored, 32));
    const Channels read = decoded("out.flac");
    EXPECT_TRUE(read[0] == floatsOf(stored[0], 32) && read[1] == floatsOf(stored[1], 32));

    // The tracks need not follow the file: swapped, cut, and with silence between.
    const auto source = opened("in.wav");
    const auto clips = AudioFile::pcmAudioClips(source);
    const AudioClipPtr silence = std::make_shared<AudioClip>(10);
    const std::vector<ClipList> tracks = {
        ClipList({clips[1]->subdataWithOffset(5, 100), silence, clips[1]->subdataWithOffset(50, 7)}),
        ClipList({silence, clips[0]->subdataWithOffset(3, 107)})};
    FLACFile edited(44100.0, 32, 2);
    save(edited, "edited.flac", TrackDocument(tracks));
    std::vector<std::vector<int32_t>> expected(2, std::vector<int32_t>(117));
    std::copy_n(stored[1].begin() + 5, 100, expected[0].begin());
    std::copy_n(stored[1].begin() + 50, 7, expected[0].begin() + 110);
    std::copy_n(stored[0].begin() + 3, 107, expected[1].begin() + 10);
    EXPECT_TRUE(judged("edited.flac", 32) == packed(expected, 32));
}

TEST_F(FLACFileTest, WhatIsLouderThanFullScaleBecomesTheLargestCode)
{
    const FloatBuffer samples = {1.0F, 2.0F, 1e30F, -1.0F, -1.5F, -1e30F, 0.5F / 128, -0.5F / 128, 0.0F};
    FLACFile file(8000.0, 8, 1);
    save(file, "out.flac", documentOfChannels({samples}, 8000.0));
    EXPECT_EQ(judged("out.flac", 8), bytes("\x7F\x7F\x7F\x80\x80\x80\x01\xFF\0"));
}

TEST_F(FLACFileTest, FilesOfOtherProgramsDecodeToTheSameSamples)
{
    const struct {
        const char* what;
        int channels;
        int bits;
        int rate;
        QStringList options;
    } cases[] = {
        {"plain", 2, 16, 44100, {}},
        {"best", 2, 24, 96000, {"-8"}},
        {"fast, odd blocks", 1, 8, 8000, {"-0", "-b", "192", "--lax"}},
        {"without a seek table", 2, 16, 44100, {"--no-seektable", "--no-padding"}},
        {"large blocks", 1, 16, 192000, {"-b", "65535", "--lax"}},
        {"six channels", 6, 24, 48000, {}},
        {"eight channels", 8, 16, 48000, {"-5"}},
        {"odd rate", 1, 16, 221, {"--lax"}},
        {"in Ogg", 2, 16, 44100, {"--ogg"}},
    };
    for (const auto& c : cases) {
        const QByteArray samples = noiseBytes(qsizetype{100003} * c.channels * c.bits / 8, 5);
        makeFile("in.raw", samples);
        run("flac", QStringList{"-s", "-f", "--force-raw-format", "--endian=little", "--sign=signed",
                                "--channels", QString::number(c.channels), "--bps", QString::number(c.bits),
                                "--sample-rate", QString::number(c.rate), "-o", argument("in.flac")} +
                        c.options + QStringList(argument("in.raw")));
        const auto file = opened("in.flac");
        ASSERT_TRUE(file) << c.what;
        EXPECT_TRUE(file->requiresConversion());
        EXPECT_EQ(file->numberOfFrames(), 100003) << c.what;
        EXPECT_EQ(file->sampleRate(), c.rate) << c.what;
        const Channels channels = channelsOf(*file);
        ASSERT_EQ(channels.size(), static_cast<size_t>(c.channels)) << c.what;
        EXPECT_EQ(file->warnings(), QStringList()) << c.what;
        FloatBuffer interleaved(100003 * channels.size());
        SampleConversion::integersToFloats(std::as_bytes(std::span(samples)), c.bits / 8, 0, 1, interleaved);
        for (size_t i = 0; i < interleaved.size(); ++i)
            ASSERT_EQ(channels[i % channels.size()][i / channels.size()], interleaved[i]) << c.what << i;
    }
}

TEST_F(FLACFileTest, WritesTheFramesThatTheReferenceEncoderWrites)
{
    const auto frames = [](const QByteArray& file) {
        qsizetype offset = 4;
        for (bool isLast = false; !isLast;) {
            isLast = file[offset] & 0x80;
            offset += 4 + (qFromBigEndian<quint32>(file.data() + offset) & 0xFFFFFF);
        }
        return file.mid(offset);
    };
    const std::vector<std::vector<int32_t>> stored = {integers(16, 300001, 1), integers(16, 300001, 2)};
    makeFile("in.wav", wave({1, 2, 44100, 16}, packed(stored, 16)));
    run("flac", {"-s", "-f", "-o", argument("theirs.flac"), argument("in.wav")});
    FLACFile file(44100.0, 16, 2);
    save(file, "ours.flac", documentOf(opened("in.wav")));
    EXPECT_TRUE(frames(bytesOf("ours.flac")) == frames(bytesOf("theirs.flac")));
}

TEST_F(FLACFileTest, WritesEveryFormThatTheFormatAllows)
{
    const struct {
        double rate;
        uint32_t bits;
        uint32_t channels;
        size_t numFrames;
        const char* storedRate;
    } cases[] = {
        {44100.0, 16, 2, 0, "44100"},
        {44100.0, 16, 1, 1, "44100"},
        {22050.5, 16, 1, 100, "22051"},
        {96001.0, 16, 2, 5000, "96001"},
        {1.0, 8, 1, 10, "1"},
        {655350.0, 24, 8, 5000, "655350"},
        {44100.0, 10, 2, 5000, "44100"},
        {48000.0, 32, 8, 5000, "48000"},
    };
    for (const auto& c : cases) {
        FLACFile file(c.rate, c.bits, c.channels);
        save(file, "out.flac", documentOfChannels(noiseChannels(c.channels, c.numFrames), c.rate));
        run("flac", {"-t", "-s", argument("out.flac")});
        const QByteArray told = run("metaflac", {"--show-sample-rate", "--show-bps", "--show-channels",
                                                 "--show-total-samples", argument("out.flac")});
        EXPECT_EQ(told.simplified(), QByteArray(c.storedRate) + " " + QByteArray::number(c.bits) + " " +
                                         QByteArray::number(c.channels) + " " +
                                         QByteArray::number(static_cast<qulonglong>(c.numFrames)));
        const Channels read = decoded("out.flac");
        ASSERT_EQ(read.size(), c.channels);
        EXPECT_EQ(read[0].size(), c.numFrames);
    }
    FLACFile file(2e6, 16, 2);
    file.setFileHandle(newFile("out.flac"));
    SilentProgress progress;
    MaybeError error;
    EXPECT_FALSE(file.saveDocument(silence(5, 2), nullptr, progress, &error));
    EXPECT_EQ(error->message, "FLAC files cannot hold 2 channels of 16 bits at 2000000 Hz.");
    FLACFile many(44100.0, 16, 9);
    many.setFileHandle(newFile("out.flac"));
    EXPECT_FALSE(many.saveDocument(silence(5, 9), nullptr, progress, &error));
    EXPECT_EQ(error->message, "This format holds at most 8 channels.");
}

TEST_F(FLACFileTest, SavesASelection)
{
    const Channels channels = noiseChannels(3, 50000);
    SoundSelection selection;
    selection.startTime = 1000.0 / 44100.0;
    selection.endTime = 41000.0 / 44100.0;
    selection.firstTrack = 1;
    selection.numTracks = 2;
    FLACFile file(44100.0, 24, 3);
    save(file, "out.flac", documentOfChannels(channels), &selection);
    const Channels read = decoded("out.flac");
    ASSERT_EQ(read.size(), 2U);
    ASSERT_EQ(read[1].size(), 40000U);
    for (size_t i = 0; i < 40000; ++i)
        ASSERT_NEAR(read[1][i], channels[2][i + 1000], 1.0F / (1 << 23));
}

TEST_F(FLACFileTest, OffersFiveSampleSizesWithAnEstimate)
{
    FLACFile file(44100.0, 24, 2);
    file.setNumberOfFrames(100000);
    const FileOptions options = file.fileOptions();
    EXPECT_EQ(options.label, "Sample Size:");
    EXPECT_EQ(options.selectedTag, 24);
    QStringList items;
    for (const FileOption& item : options.items)
        items.append(QString("%1=%2").arg(item.tag).arg(item.title));
    EXPECT_EQ(items.join(' '), "8=8 bit 12=12 bit 16=16 bit 20=20 bit 24=24 bit");
    const double sixteenBits = 2.0 * 100000 * 2 + 4096;
    EXPECT_NEAR(file.estimatedFileSizeWithTag(0), 16 * sixteenBits * 0.03245192308, 1e-3);
    EXPECT_NEAR(file.estimatedFileSizeWithTag(20), 20 * sixteenBits * 0.03245192308, 1e-3);
    file.configureWithPopUpTag(12);
    EXPECT_EQ(file.bitsPerSample(), 12U);
    for (const auto& [bits, corrected] : {std::pair(64U, 32U), std::pair(4U, 8U), std::pair(0U, 16U)}) {
        file.setBitsPerSample(bits);
        EXPECT_EQ(file.fileOptions().selectedTag, 16);
        file.validateAndCorrectParameters();
        EXPECT_EQ(file.bitsPerSample(), corrected);
    }
}

TEST_F(FLACFileTest, EveryTagIsWrittenUnderItsKeyAndReadAgain)
{
    const auto [metadata, lines] = everyComment();
    FLACFile file(44100.0, 16, 1);
    file.setMetadata(metadata);
    save(file, "out.flac", silence(100));
    EXPECT_TRUE(run("metaflac", {"--no-utf8-convert", "--export-tags-to=-", argument("out.flac")}) == lines);
    const auto reread = opened("out.flac");
    EXPECT_EQ(reread->metadata().dictionary(), metadata.dictionary());
    EXPECT_EQ(reread->tagsNotKept() + reread->chunksNotKept(), QStringList());
}

TEST_F(FLACFileTest, NamesWhatASaveWouldDrop)
{
    FLACFile file(44100.0, 16, 1);
    save(file, "in.flac", silence(44100));
    makeFile("cover.png",
             QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mP8z8"
                                    "BQDwAEhQGAhKmMIQAAAABJRU5ErkJggg=="));
    makeFile("disc.cue", "FILE \"in.wav\" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n");
    run("metaflac",
        {"--no-utf8-convert", "--set-tag=TITLE=Song", "--set-tag=Date=2004", "--set-tag=DATE=5",
         "--set-tag=ENCODER=x", "--set-tag=ATTACHED PICTURES=y", "--set-tag=EMPTY=", "--import-picture-from",
         argument("cover.png"), "--add-padding=100", argument("in.flac")});
    const auto tagged = opened("in.flac");
    EXPECT_EQ(tagged->metadata().title(), "Song");
    EXPECT_EQ(tagged->metadata().year(), "2004; 5");
    EXPECT_EQ(tagged->ledger().namesNotKept(ItemKind::value), QStringList());
    // A file of its own type keeps it; elsewhere who replaces a value knows what becomes of it.
    const auto told = [&tagged](AudioFile&& writer, const QString& year, ItemKind kind) {
        writer.setOpenedFile(tagged);
        AudioMetadata metadata = tagged->metadata();
        metadata.setYear(year);
        writer.setMetadata(metadata);
        return tagged->ledger().namesOf(kind, [&](const FileItem& item) { return !writer.willWrite(item); });
    };
    EXPECT_EQ(told(FLACFile(44100.0, 16, 1), "2004; 5", ItemKind::value), QStringList());
    EXPECT_EQ(told(FLACFile(44100.0, 16, 1), "2004; 5", ItemKind::tag), QStringList());
    EXPECT_EQ(told(WaveFile(44100.0, 16, 1), "2004; 5", ItemKind::value),
              QStringList("year “2004”, “5” becomes “2004; 5”"));
    EXPECT_EQ(told(WaveFile(44100.0, 16, 1), "2005", ItemKind::value), QStringList());
    EXPECT_EQ(told(WaveFile(44100.0, 16, 1), "2005", ItemKind::tag), QStringList("attached pictures"));
    EXPECT_EQ(tagged->tagsNotKept() + tagged->chunksNotKept(), QStringList());
    ASSERT_EQ(tagged->metadata().artwork().size(), 1);
    EXPECT_EQ(tagged->metadata().artwork()[0].pictureData(), bytesOf("cover.png"));

    run("flac", {"-d", "-s", "-f", "-o", argument("in.wav"), argument("in.flac")});
    run("flac",
        {"-s", "-f", "--cuesheet", argument("disc.cue"), "-o", argument("cue.flac"), argument("in.wav")});
    QByteArray bytes = bytesOf("cue.flac");
    bytes.insert(4 + 4 + 34, QByteArray("\x02\0\0\x06riffxy", 10));
    makeFile("cue.flac", bytes);
    const auto withCues = opened("cue.flac");
    // The cue sheet counts frames from the start, so it stays with sound of the same length.
    for (const int64_t length : {44100, 44000}) {
        FLACFile writer(44100.0, 16, 1);
        writer.setOpenedFile(withCues);
        writer.setNumberOfFrames(length);
        const QStringList lost = withCues->ledger().namesOf(
            ItemKind::part, [&](const FileItem& item) { return !writer.willWrite(item); });
        EXPECT_EQ(lost, length == 44100 ? QStringList() : QStringList("cue sheet"));
    }
    run("flac", {"-s", "-f", "--ogg", "-o", argument("in.oga"), argument("in.wav")});
    EXPECT_EQ(opened("in.oga")->chunksNotKept(), QStringList());
}

TEST_F(FLACFileTest, CanBeCancelledAtAnyTime)
{
    FLACFile file(44100.0, 16, 2);
    const TrackDocument document = documentOfChannels(noiseChannels(2, 400000));
    save(file, "in.flac", document);
    for (const int patience : {0, 1, 2}) {
        expectCancelledOpening("in.flac", patience);
        expectCancelledSave<FLACFile>(document, 1 + 100000 * patience);
        run("flac", {"-t", "-s", argument("half")});
    }
}

TEST_F(FLACFileTest, AFullDiskEndsOpeningAndSavingWithAnError)
{
    expectErrorsOnAFullDisk<FLACFile>("in.flac", 3'000'000);
}

} // namespace
} // namespace velloria
