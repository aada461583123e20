#include "formats/saving/PacketSaver.h"

#include "formats/kit/FileTestKit.h"

namespace velloria
{
namespace
{

using namespace test;

/// Two tracks of noise, the first one in two clips, the second one shorter.
TrackDocument noiseDocument(size_t numFrames)
{
    const std::vector<AudioClipPtr> first = {floatClip(noise(numFrames / 3, 1)),
                                             floatClip(noise(numFrames - numFrames / 3, 2))};
    return TrackDocument({ClipList(first), ClipList(floatClip(noise(numFrames - 7, 3)))});
}

class FrameFeedTest : public FileTest
{
};

FloatBuffer taken(FrameFeed& feed, Progress& progress, MaybeError* error = nullptr)
{
    FloatBuffer all;
    const MaybeError failure = feed.run(
        [&all](std::span<const float> block) -> MaybeError {
            EXPECT_LE(block.size_bytes(), 262144U);
            all.insert(all.end(), block.begin(), block.end());
            return std::nullopt;
        },
        progress);
    if (error)
        *error = failure;
    return all;
}

TEST_F(FrameFeedTest, HandsOverTheFramesOfTheRangeInOrder)
{
    const TrackDocument document = noiseDocument(100'000);
    const SaveRange ranges[] = {{0, 100'000, 0, 2}, {777, 65'537, 0, 2}, {5, 70'000, 1, 1}, {9, 0, 0, 2}};
    for (const SaveRange& range : ranges) {
        FrameFeed feed(document, range);
        RecordingProgress progress;
        progress.setTargetValue(range.numFrames);
        EXPECT_EQ(taken(feed, progress), document.interleavedDataAtOffset(range.startFrame, range.numFrames,
                                                                          range.firstTrack, range.numTracks));
        EXPECT_EQ(progress.markValue(), range.numFrames);
    }
}

TEST_F(FrameFeedTest, StopsAtAnErrorOrACancellation)
{
    const TrackDocument document = noiseDocument(200'000);
    FrameFeed failing(document, {0, 200'000, 0, 2});
    int numCalls = 0;
    SilentProgress silent;
    const MaybeError error = failing.run(
        [&numCalls](std::span<const float>) -> MaybeError {
            return ++numCalls == 2 ? std::optional(Error{Error::Code::diskFull, QStringLiteral("full")})
                                   : std::nullopt;
        },
        silent);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, Error::Code::diskFull);
    EXPECT_EQ(numCalls, 2);

    FrameFeed cancelled(document, {0, 200'000, 0, 2});
    RecordingProgress progress(1);
    MaybeError cancellation;
    EXPECT_EQ(taken(cancelled, progress, &cancellation).size(), 65'536U);
    ASSERT_TRUE(cancellation);
    EXPECT_TRUE(cancellation->isUserCancelled());
}

TEST_F(FrameFeedTest, FillsWithSilenceWhatASourceLost)
{
    makeFile("a.wav", wave({1, 1, 44100, 16}, QByteArray(80'000, '\x40')));
    const auto file = AudioFileRegistry::audioFileWithPath(path("a.wav"), nullptr);
    ASSERT_TRUE(file);
    const TrackDocument document({ClipList(AudioFile::pcmAudioClips(file).front())});
    std::filesystem::resize_file(path("a.wav"), 44 + 20'000);
    FrameFeed feed(document, {0, 40'000, 0, 1});
    SilentProgress progress;
    const FloatBuffer samples = taken(feed, progress);
    ASSERT_EQ(samples.size(), 40'000U);
    EXPECT_NE(samples[9'999], 0.0F);
    EXPECT_EQ(samples[10'000], 0.0F);
    EXPECT_GT(file->fileHandle()->numMissedReads(), 0);
}

/// Counts what comes.
class RecordingSink : public PacketSink
{
public:
    MaybeError begin(const PacketEncoder& encoder) override
    {
        framesPerPacket = encoder.framesPerPacket();
        return std::nullopt;
    }
    MaybeError writePacket(AVPacket& packet) override
    {
        numBytes += packet.size;
        if (++numPackets == failAtPacket)
            return Error{Error::Code::diskFull, QStringLiteral("full")};
        return std::nullopt;
    }
    MaybeError finish(const PacketTable& found) override
    {
        EXPECT_FALSE(table);
        table = found;
        return std::nullopt;
    }

    int failAtPacket = -1;
    int64_t framesPerPacket = 0;
    int64_t numPackets = 0;
    int64_t numBytes = 0;
    std::optional<PacketTable> table;
};

PacketSaver::Options optionsFor(FourCharCode formatID, uint32_t numChannels)
{
    PacketSaver::Options options;
    options.format.setFormat(formatID);
    options.format.setNumChannels(numChannels);
    options.format.setSampleRate(44100.0);
    options.format.useAudioFormatToValidateDescription();
    return options;
}

TEST(PacketSaverTest, TellsWhereTheSoundLiesInThePackets)
{
    struct Case {
        FourCharCode format;
        int64_t numFrames;
        int64_t assumedPriming;
        int64_t numPackets;
        PacketTable table;
    };
    const Case cases[] = {
        {fourCharCode("ima4"), 1, 0, 1, {1, 0, 63}},
        {fourCharCode("ima4"), 64, 0, 1, {64, 0, 0}},
        {fourCharCode("ima4"), 100'001, 0, 1563, {100'001, 0, 31}},
        {fourCharCode("ima4"), 0, 0, 0, {0, 0, 0}},
        {fourCharCode("ulaw"), 5000, 0, 2, {5000, 0, 0}},
        {fourCharCode("alac"), 5000, 0, 2, {5000, 0, 0}},
        {fourCharCode("aac "), 10'000, 0, 11, {10'000, 1024, 240}},
        {fourCharCode("aac "), 10'000, 2112, 12, {10'000, 2112, 176}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(fourCharText(each.format).toStdString() + std::to_string(each.numFrames));
        const TrackDocument document = noiseDocument(static_cast<size_t>(each.numFrames) + 10);
        PacketSaver::Options options = optionsFor(each.format, 2);
        options.assumedPrimingFrames = each.assumedPriming;
        PacketSaver saver(document, {3, each.numFrames, 0, 2}, options);
        RecordingSink sink;
        RecordingProgress progress;
        const MaybeError error = saver.run(sink, progress);
        ASSERT_FALSE(error) << error->message.toStdString();
        EXPECT_EQ(sink.numPackets, each.numPackets);
        ASSERT_TRUE(sink.table);
        EXPECT_EQ(sink.table->numberOfValidFrames, each.table.numberOfValidFrames);
        EXPECT_EQ(sink.table->primingFrames, each.table.primingFrames);
        EXPECT_EQ(sink.table->remainderFrames, each.table.remainderFrames);
        EXPECT_EQ(progress.markValue(), each.numFrames);
    }
}

TEST(PacketSaverTest, GivesUpWhenTheContainerOrTheEncoderCannotGoOn)
{
    const TrackDocument document = noiseDocument(50'000);
    RecordingSink sink;
    sink.failAtPacket = 700;
    PacketSaver saver(document, {0, 50'000, 0, 2}, optionsFor(fourCharCode("ima4"), 2));
    SilentProgress progress;
    MaybeError error = saver.run(sink, progress);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, Error::Code::diskFull);
    EXPECT_EQ(sink.numPackets, 700);
    EXPECT_FALSE(sink.table);

    RecordingSink untouched;
    PacketSaver impossible(document, {0, 50'000, 0, 2}, optionsFor(fourCharCode("????"), 2));
    error = impossible.run(untouched, progress);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, Error::Code::unsupported);
    EXPECT_EQ(untouched.framesPerPacket, 0);

    RecordingSink started;
    RecordingProgress cancelling(1);
    PacketSaver cancelled(document, {0, 50'000, 0, 2}, optionsFor(fourCharCode("ima4"), 2));
    error = cancelled.run(started, cancelling);
    ASSERT_TRUE(error && error->isUserCancelled());
    EXPECT_FALSE(started.table);
}

} // namespace
} // namespace velloria
