#include "formats/saving/SaveLoop.h"

#include "document/clips/AudioData.h"
#include "document/clips/SourceWatch.h"
#include "formats/kit/FileTestKit.h"
#include "formats/wave/WaveFile.h"

namespace velloria
{
namespace
{

using namespace test;

/// The samples of a WAVE file that we wrote, as integers.
std::vector<int32_t> samplesOf(const QByteArray& file, int bytesPerSample)
{
    std::vector<int32_t> samples;
    for (qsizetype i = 44; i + bytesPerSample <= file.size(); i += bytesPerSample) {
        uint32_t value = 0;
        for (int byte = 0; byte < bytesPerSample; ++byte)
            value |= static_cast<uint32_t>(static_cast<unsigned char>(file[i + byte]))
                     << (8 * (4 - bytesPerSample + byte));
        samples.push_back(static_cast<int32_t>(value) >> (32 - 8 * bytesPerSample));
    }
    return samples;
}

class SaveLoopTest : public FileTest
{
protected:
    /// Channels of a WAVE file of noise, read in place, and the bytes that it stores.
    struct Source {
        std::shared_ptr<AudioFile> file;
        std::vector<ClipList> channels;
        QByteArray stored;
        int frameSize = 0;
        int bytesPerSample = 0;

        QByteArray sample(int64_t frame, int channel) const
        {
            return stored.mid(frame * frameSize + channel * bytesPerSample, bytesPerSample);
        }
    };

    Source makeSource(const std::string& name, int bits, int numChannels, int64_t numFrames,
                      unsigned seed) const
    {
        Source source;
        source.bytesPerSample = bits / 8;
        source.frameSize = numChannels * source.bytesPerSample;
        source.stored = noiseBytes(numFrames * source.frameSize, seed);
        makeFile(name, wave({1, numChannels, 44100, bits}, source.stored));
        source.file = WaveFile::open(FileHandle::openForReading(path(name)), nullptr);
        EXPECT_TRUE(source.file);
        for (const AudioClipPtr& clip : AudioFile::pcmAudioClips(source.file))
            source.channels.emplace_back(clip);
        return source;
    }

    struct Outcome {
        bool hasSucceeded = false;
        MaybeError error;
        /// What the watch over the sources has to say at the end.
        MaybeError sourceError;
        /// The file behind its 44 bytes of header.
        QByteArray samples;
    };

    Outcome save(const FrameSource& document, uint32_t bits, const SoundSelection* selection = nullptr,
                 Progress* progress = nullptr) const
    {
        SilentProgress silent;
        Outcome outcome;
        const TrackList tracks = document.audioTracks();
        const SourceWatch watch(*tracks);
        WaveFile file(document.sampleRate(), bits, static_cast<uint32_t>(document.trackCount()));
        file.setFileHandle(newFile("out.wav"));
        outcome.hasSucceeded =
            file.saveDocument(document, selection, progress ? *progress : silent, &outcome.error);
        outcome.sourceError = watch.error();
        outcome.samples = bytesOf("out.wav").mid(44);
        return outcome;
    }
};

TEST_F(SaveLoopTest, CarriesWholeFilesOverByteForByte)
{
    for (const int bits : {8, 16, 24, 32}) {
        for (const int64_t numFrames : {1, 32768, 100001}) {
            const Source source = makeSource("in.wav", bits, 2, numFrames, 3);
            const Outcome outcome = save(TrackDocument(source.channels), static_cast<uint32_t>(bits));
            EXPECT_TRUE(outcome.hasSucceeded);
            EXPECT_TRUE(outcome.samples == source.stored) << bits << " bits, " << numFrames << " frames";
        }
    }
}

TEST_F(SaveLoopTest, CarriesRunsOverInAnEditedDocument)
{
    for (const int bits : {8, 16, 24, 32}) {
        const Source a = makeSource("a.wav", bits, 2, 70000, 1);
        const Source b = makeSource("b.wav", bits, 3, 50000, 2);
        // Swapped channels, other files, other offsets, gaps of silence, runs that end inside a pass.
        AudioTrack left(a.channels[1]);
        left.removeDataAtOffset(1000, 30001);
        left.insertClips(b.channels[2], 777);
        AudioTrack right(a.channels[0]);
        right.insertClip(std::make_shared<AudioClip>(999), 40000);

        const Outcome outcome =
            save(TrackDocument({left.clips(), right.clips()}), static_cast<uint32_t>(bits));
        ASSERT_TRUE(outcome.hasSucceeded);
        const QByteArray silence(a.bytesPerSample, bits == 8 ? '\x80' : '\0');
        QByteArray expected;
        for (int64_t frame = 0; frame < left.length(); ++frame) {
            if (frame < 777)
                expected += a.sample(frame, 1);
            else if (frame < 50777)
                expected += b.sample(frame - 777, 2);
            else
                expected += a.sample(frame - 50000 + (frame < 51000 ? 0 : 30001), 1);
            if (frame < 40000)
                expected += a.sample(frame, 0);
            else if (frame < 40999)
                expected += silence;
            else
                expected += frame < right.length() ? a.sample(frame - 999, 0) : silence;
        }
        EXPECT_TRUE(outcome.samples == expected) << bits << " bits";
    }
}

TEST_F(SaveLoopTest, DithersWhatIsNotOfTheSizeBeingWritten)
{
    const size_t numFrames = 40000;
    const FloatBuffer floats = noise(numFrames, 5);
    const Source source = makeSource("in.wav", 24, 1, static_cast<int64_t>(numFrames), 6);
    const FloatBuffer fromFile =
        source.channels[0].at(0)->sampleDataAtOffset(0, static_cast<int64_t>(numFrames));
    for (const int bits : {8, 16}) {
        const Outcome outcome = save(TrackDocument({ClipList(floatClip(floats)), source.channels[0]}),
                                     static_cast<uint32_t>(bits));
        ASSERT_TRUE(outcome.hasSucceeded);
        const std::vector<int32_t> samples = samplesOf(QByteArray(44, '\0') + outcome.samples, bits / 8);
        ASSERT_EQ(samples.size(), 2 * numFrames);
        const double scale = std::exp2(bits - 1);
        double sum = 0.0;
        for (size_t i = 0; i < samples.size(); ++i) {
            const double exact = (i % 2 == 0 ? floats : fromFile)[i / 2] * scale;
            const double stored = bits == 8 ? static_cast<uint8_t>(samples[i]) - 128.0 : samples[i];
            // The sample below or above; the positive end is not rounded beyond the largest code.
            ASSERT_LE(std::abs(stored - exact), 1.001) << i;
            sum += stored - exact;
        }
        // Rounded up or down by chance, so that the error averages out (one deviation is about 0.35 / 283).
        EXPECT_LT(std::abs(sum / static_cast<double>(samples.size())), 0.01);
    }
}

TEST_F(SaveLoopTest, KeepsIntegersThatStandBesideFloats)
{
    const Source source = makeSource("in.wav", 16, 2, 50000, 8);
    AudioTrack mixed(source.channels[0]);
    mixed.insertClip(floatClip(noise(1000, 9)), 20000);
    const Outcome outcome = save(TrackDocument({mixed.clips(), source.channels[1]}), 16);
    ASSERT_TRUE(outcome.hasSucceeded);
    const auto stored = [&](int64_t frame, int channel) {
        return outcome.samples.mid(frame * 4 + channel * 2, 2);
    };
    for (int64_t frame = 0; frame < 50000; ++frame) {
        ASSERT_EQ(stored(frame < 20000 ? frame : frame + 1000, 0), source.sample(frame, 0)) << frame;
        ASSERT_EQ(stored(frame, 1), source.sample(frame, 1)) << frame;
    }
}

TEST_F(SaveLoopTest, KeepsTheIntegersThatADecoderFound)
{
    // Every code of 16 bits, and many loud ones of 24, which dither would change now and then.
    for (const int bits : {16, 20, 24}) {
        const double scale = std::exp2(bits - 1);
        FloatBuffer floats(200000);
        for (size_t i = 0; i < floats.size(); ++i)
            floats[i] = static_cast<float>((static_cast<double>(i % 65536) - scale) / scale);
        auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
        clip->setStoredSamples({bits, false, false});
        ASSERT_FALSE(clip->appendData(floats));
        clip->finalizeCache();
        // A piece cut out of it knows it too.
        const AudioClipPtr piece = clip->subdataWithOffset(5, 190000);
        const int numBytes = (bits + 7) / 8;
        const Outcome outcome = save(TrackDocument({ClipList(piece)}), static_cast<uint32_t>(8 * numBytes));
        ASSERT_TRUE(outcome.hasSucceeded);
        const std::vector<int32_t> samples = samplesOf(QByteArray(44, '\0') + outcome.samples, numBytes);
        ASSERT_EQ(samples.size(), 190000U);
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_EQ(samples[i], floats[i + 5] * std::exp2(8 * numBytes - 1)) << bits << " bits, " << i;
    }
}

TEST_F(SaveLoopTest, WritesTheSameBytesEachTime)
{
    const TrackDocument document(
        {ClipList(floatClip(noise(200000, 1))), ClipList(floatClip(noise(150000, 2)))});
    const QByteArray first = save(document, 16).samples;
    ASSERT_EQ(first.size(), 800000);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(save(document, 16).samples == first);
}

TEST_F(SaveLoopTest, TellsItsProgressAfterEachPassOf32768Frames)
{
    const Source source = makeSource("in.wav", 16, 1, 100000, 1);
    RecordingProgress progress;
    progress.setTargetValue(200000);
    progress.setMarkValue(50000);
    EXPECT_TRUE(save(TrackDocument(source.channels), 16, nullptr, &progress).hasSucceeded);
    EXPECT_EQ(progress.values,
              (std::vector<double>{0.25, 82768 / 200000.0, 115536 / 200000.0, 148304 / 200000.0, 0.75}));
}

TEST_F(SaveLoopTest, WritesTheFooterAlsoWhenItIsCancelled)
{
    const TrackDocument document({ClipList(std::make_shared<AudioClip>(10'000'000))});
    WaveFile file(44100.0, 16, 1);
    file.setFileHandle(newFile("out.wav"));
    file.setMarkers(markerList({{7, "m"}}));
    RecordingProgress progress(40000);
    MaybeError error;
    EXPECT_FALSE(file.saveDocument(document, nullptr, progress, &error));
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->isUserCancelled());
    EXPECT_EQ(progress.markValue(), 65536);
    const QByteArray written = bytesOf("out.wav");
    EXPECT_LT(written.size(), 10'000'000);
    EXPECT_TRUE(written.contains("MARK" + littleEndian32(10)));
    EXPECT_EQ(written.mid(4, 4), littleEndian32(written.size() - 8));
}

TEST_F(SaveLoopTest, RefusesWhatNoFileHoldsBeforeAnySampleIsWritten)
{
    const TrackDocument document({ClipList(std::make_shared<AudioClip>(int64_t{1} << 60))});
    WaveFile file(44100.0, 32, 1);
    file.setFileHandle(newFile("out.wav"));
    SilentProgress progress;
    MaybeError error;
    EXPECT_FALSE(file.saveDocument(document, nullptr, progress, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, Error::Code::fileTooLarge);
    EXPECT_EQ(error->message, "The sound is too long for any file.");
    EXPECT_EQ(bytesOf("out.wav").size(), 0);
}

TEST_F(SaveLoopTest, SavesTheSelectedFramesOfTheSelectedTracks)
{
    const Source source = makeSource("in.wav", 16, 3, 1000, 4);
    const TrackDocument document(source.channels, 1000.0);
    const struct {
        SoundSelection selection;
        int64_t start;
        int64_t numFrames;
        int firstTrack;
        int numTracks;
    } cases[] = {
        {{0.1, 0.2, 0, 3}, 100, 100, 0, 3},    {{0.1, 0.2, 1, 2}, 100, 100, 1, 2},
        {{0.1004, 0.2, 2, 1}, 100, 100, 2, 1}, {{0.1005, 0.2, 2, 1}, 101, 100, 2, 1},
        {{-0.5, 0.25, 0, 1}, 0, 250, 0, 1},    {{0.9, 5.0, 0, 9}, 900, 100, 0, 3},
        {{7.0, 8.0, 0, 1}, 1000, 0, 0, 1},     {{0.2, 0.1, -1, 2}, 200, 0, 0, 2},
    };
    for (const auto& c : cases) {
        WaveFile file(1000.0, 16, 3);
        file.setFileHandle(newFile("out.wav"));
        file.setMarkers(markerList({{7, "m"}}));
        SilentProgress progress;
        ASSERT_TRUE(file.saveDocument(document, &c.selection, progress, nullptr));
        EXPECT_EQ(file.numberOfFrames(), c.numFrames);
        EXPECT_EQ(file.channelCount(), c.numTracks);
        QByteArray expected;
        for (int64_t frame = c.start; frame < c.start + c.numFrames; ++frame)
            expected += source.stored.mid(frame * 6 + c.firstTrack * 2, c.numTracks * 2);
        EXPECT_EQ(bytesOf("out.wav").mid(44), expected) << c.selection.startTime;
    }
}

TEST_F(SaveLoopTest, FailsWithoutATrackToSave)
{
    const SoundSelection none{0.0, 1.0, 0, 0};
    for (const SoundSelection* selection : {static_cast<const SoundSelection*>(nullptr), &none}) {
        const Outcome outcome = save(TrackDocument({}), 16, selection);
        EXPECT_FALSE(outcome.hasSucceeded);
        ASSERT_TRUE(outcome.error);
        EXPECT_EQ(outcome.error->message, "There is no track to save.");
    }
}

TEST_F(SaveLoopTest, PutsSilenceInPlaceOfWhatASourceHasLost)
{
    for (const int bits : {8, 16}) {
        for (const bool isSwapped : {false, true}) {
            Source source = makeSource("in.wav", bits, 2, 100000, 12);
            if (isSwapped)
                std::swap(source.channels[0], source.channels[1]);
            EXPECT_FALSE(save(TrackDocument(source.channels), static_cast<uint32_t>(bits)).sourceError);
            // The last frame that is left is cut in half.
            std::filesystem::resize_file(path("in.wav"),
                                         static_cast<uintmax_t>(44 + 40000 * source.frameSize + 1));
            const Outcome outcome = save(TrackDocument(source.channels), static_cast<uint32_t>(bits));
            EXPECT_TRUE(outcome.hasSucceeded);
            EXPECT_TRUE(outcome.sourceError);
            ASSERT_EQ(outcome.samples.size(), 100000 * source.frameSize);
            EXPECT_EQ(outcome.samples.mid(39999 * source.frameSize, source.bytesPerSample),
                      source.sample(39999, isSwapped ? 1 : 0));
            EXPECT_TRUE(outcome.samples.mid(40000 * source.frameSize) ==
                        QByteArray(60000 * source.frameSize, bits == 8 ? '\x80' : '\0'))
                << bits << isSwapped;
        }
    }
}

TEST_F(SaveLoopTest, CountsOnFewBytesHoweverManyChannelsThereAre)
{
    // 3000 channels of 24 bits: a pass is 295 MB, a block of it less than one.
    const Source source = makeSource("in.wav", 24, 3000, 40, 3);
    EXPECT_TRUE(save(TrackDocument(source.channels), 24).samples == source.stored);
    std::vector<ClipList> reversed(source.channels.rbegin(), source.channels.rend());
    const Outcome outcome = save(TrackDocument(reversed), 24);
    ASSERT_EQ(outcome.samples.size(), source.stored.size());
    for (int channel = 0; channel < 3000; channel += 7)
        ASSERT_EQ(outcome.samples.mid(39 * 9000 + channel * 3, 3), source.sample(39, 2999 - channel));
}

TEST_F(SaveLoopTest, ReportsAFileThatCannotBeWritten)
{
    const Source source = makeSource("in.wav", 16, 1, 1000, 3);
    WaveFile file(44100.0, 16, 1);
    file.setFileHandle(FileHandle::openForReading(path("in.wav")));
    SilentProgress progress;
    MaybeError error;
    EXPECT_FALSE(file.saveDocument(TrackDocument(source.channels), nullptr, progress, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, Error::Code::writeFailed);
    EXPECT_EQ(bytesOf("in.wav").mid(44), source.stored);
}

/// A format that takes floats in order.
class FloatListFile : public AudioFile
{
public:
    explicit FloatListFile(uint32_t numChannels)
        : AudioFile(44100.0, 16, numChannels)
    {
    }
    QString fileFormatUTI() const override { return "com.example.floats"; }
    bool storesIntegers() const override { return false; }
    MaybeError writeFloatData(std::span<const float> interleaved, int64_t frameOffset) override
    {
        EXPECT_EQ(static_cast<size_t>(frameOffset) * numberOfChannels(), floats.size());
        floats.insert(floats.end(), interleaved.begin(), interleaved.end());
        return std::nullopt;
    }

    FloatBuffer floats;
};

TEST_F(SaveLoopTest, HandsFloatsInOrderToAFormatWithoutIntegers)
{
    const FloatBuffer left = noise(100000, 1);
    const FloatBuffer right = noise(70000, 2);
    FloatListFile file(2);
    file.setFileHandle(newFile("out"));
    SilentProgress progress;
    ASSERT_TRUE(file.saveDocument(TrackDocument({ClipList(floatClip(left)), ClipList(floatClip(right))}),
                                  nullptr, progress, nullptr));
    ASSERT_EQ(file.floats.size(), 200000U);
    for (size_t i = 0; i < left.size(); ++i) {
        ASSERT_EQ(file.floats[2 * i], left[i]);
        ASSERT_EQ(file.floats[2 * i + 1], i < right.size() ? right[i] : 0.0F);
    }
}

} // namespace
} // namespace velloria
