#include "effects/EffectKit.h"
#include "platform/Log.h"
#include "platform/ScratchFolder.h"

#include <cfloat>
#include <filesystem>

using namespace velloria;
using kit::documentOf;
using kit::ramp;
using kit::samplesOf;

namespace
{

/// Adds 0.5 and can look ahead, give less than asked for, or end early.
class TestFilter : public Filter
{
public:
    explicit TestFilter(const QString& name = QStringLiteral("Test..."))
        : Filter(name)
    {
    }

    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override
    {
        marks.push_back(source()->mark());
        if (numBlocks-- == 0 || !Filter::requestDataWithNumFrames(numFrames, block))
            return false;
        asked.push_back(numFrames);
        for (FloatBuffer& buffer : block) {
            for (float& sample : buffer)
                sample += 0.5F;
            buffer.resize(buffer.size() - std::min(buffer.size(), numFramesDropped));
        }
        return true;
    }
    int64_t latencyNumFrames() const override { return latency; }
    void processingFinished() override { ++numFinished; }

    int64_t latency = 0;
    size_t numFramesDropped = 0;
    int numBlocks = -1;
    int numFinished = 0;
    std::vector<uint64_t> asked;
    std::vector<int64_t> marks;
};

/// As documentOf(), with the samples of a plain loop over the selection for comparison.
FloatBuffer withHalfAdded(FloatBuffer samples, size_t start, size_t end)
{
    for (size_t i = start; i < end; ++i)
        samples[i] += 0.5F;
    return samples;
}

TEST(Filter, DropsTheEllipsisOfAMenuTitle)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Normalize...", "Normalize"}, {"...", "..."}, {"a...", "a"}, {"Fade In", "Fade In"}, {"", ""}};
    for (const auto& [given, name] : cases)
        EXPECT_EQ(TestFilter(QString::fromLatin1(given)).name(), QString::fromLatin1(name));
}

TEST(Filter, ProcessesTheSelectionInBlocksAndReplacesItAsOneStep)
{
    const auto document = documentOf({ramp(300000, 0), ramp(300000, 0.25F), ramp(300000, 7)});
    document->addMarker(kit::markerAt(200000));
    const auto before = samplesOf(*document);
    TestFilter filter;
    kit::FilterRecorder recorder;
    EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, 1000, 205801, 1), &recorder));

    EXPECT_EQ(samplesOf(*document, 0), before[0]);
    EXPECT_EQ(samplesOf(*document, 1), withHalfAdded(before[1], 1000, 205801));
    EXPECT_EQ(samplesOf(*document, 2), withHalfAdded(before[2], 1000, 205801));
    ASSERT_EQ(filter.asked.size(), 101U);
    EXPECT_EQ(filter.asked.front(), 2048U);
    EXPECT_EQ(filter.asked.back(), 1U);
    for (size_t i = 0; i < filter.marks.size(); ++i)
        ASSERT_EQ(filter.marks[i], 1000 + static_cast<int64_t>(i) * 2048)
            << "as if each block were read by itself";
    ASSERT_EQ(recorder.progresses.size(), 102U);
    EXPECT_EQ(recorder.progresses[0], 0.0);
    EXPECT_EQ(recorder.progresses[1], 2048.0 / 204801.0);
    EXPECT_EQ(recorder.progresses.back(), 1.0);
    EXPECT_EQ(recorder.numFinished, 1);
    EXPECT_EQ(filter.numFinished, 1);
    EXPECT_EQ(recorder.inserted, (std::vector<std::array<int64_t, 4>>{{1000, 204801, 1, 2}}));
    EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), std::vector<int64_t>{200000});
    EXPECT_EQ(document->undoManager().count(), 2);
    EXPECT_EQ(document->undoManager().undoText(), QStringLiteral("Test"));
    document->undoManager().undo();
    EXPECT_EQ(samplesOf(*document), before);
}

TEST(Filter, IsPrimedWithTheFramesBeforeTheSelection)
{
    struct Case {
        int64_t start;
        int64_t latency;
        std::vector<int64_t> marks;
    };
    const Case cases[] = {{5000, 3000, {2000, 4048, 5000}}, {0, 100, {-100, 0}}, {50, 2048, {-1998, 50}}};
    for (const Case& c : cases) {
        const auto document = documentOf({ramp(9000, 1)});
        TestFilter filter;
        filter.latency = c.latency;
        EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, c.start, c.start + 10)));
        EXPECT_EQ(filter.marks, c.marks) << c.start;
        EXPECT_EQ(samplesOf(*document, 0), withHalfAdded(ramp(9000, 1), static_cast<size_t>(c.start),
                                                         static_cast<size_t>(c.start) + 10));
    }
}

TEST(Filter, ResultsOfOtherLengthsReplaceTheWholeSelection)
{
    const auto document = documentOf({ramp(20000, 0)});
    document->addMarker(kit::markerAt(15000));
    TestFilter filter;
    filter.numFramesDropped = 48;
    kit::FilterRecorder recorder;
    const LogCapture log;
    EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, 0, 10240), &recorder));
    EXPECT_EQ(document->numberOfFrames(), 20000 - 5 * 48);
    EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), std::vector<int64_t>{15000 - 5 * 48});
    EXPECT_EQ(recorder.inserted.front()[1], 5 * 2000);
    EXPECT_EQ(log.logged().count(QStringLiteral("Filter input 2048 output 2000")), 5);

    filter.numFramesDropped = 0;
    filter.numBlocks = 2;
    EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, 0, 10000), &recorder));
    EXPECT_EQ(document->numberOfFrames(), 20000 - 5 * 48 - 10000 + 4096) << "an early end";
    EXPECT_EQ(recorder.inserted.back()[1], 4096);

    filter.numBlocks = 0;
    const int64_t numFrames = document->numberOfFrames();
    EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, 100, 200), &recorder));
    EXPECT_EQ(document->numberOfFrames(), numFrames - 100) << "no output at all";
}

TEST(Filter, LeavesTheDocumentAloneWhenCancelledOrEmpty)
{
    struct Case {
        const char* name;
        int cancelAfter;
        int64_t numFrames;
        size_t numProgresses;
    };
    const Case cases[] = {{"at the first block", 1, 200000, 2},
                          {"after batches were written", 90, 200000, 91},
                          {"at the last block", 98, 200000, 99},
                          {"nothing selected", INT_MAX, 0, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto document = documentOf({kit::noise(200000, 1)});
        const TrackList before = document->audioTracks();
        TestFilter filter;
        kit::FilterRecorder recorder(c.cancelAfter);
        EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, 0, c.numFrames), &recorder));
        EXPECT_EQ(filter.wasCancelled(), c.numFrames > 0);
        EXPECT_EQ(document->audioTracks(), before);
        EXPECT_EQ(document->undoManager().count(), 0);
        EXPECT_TRUE(recorder.inserted.empty());
        EXPECT_EQ(recorder.progresses.size(), c.numProgresses);
        EXPECT_EQ(recorder.numFinished, c.numFrames > 0 ? 1 : 0);
        EXPECT_EQ(filter.numFinished, recorder.numFinished);
    }
}

TEST(Filter, RefusesBlocksOfNoFrames)
{
    const auto document = documentOf({ramp(100, 0)});
    TestFilter filter;
    filter.setMaxBufferNumFrames(0);
    kit::FilterRecorder recorder;
    {
        const LogCapture log;
        EXPECT_FALSE(kit::applyTo(document, filter, kit::everythingOf(*document), &recorder));
        EXPECT_EQ(log.logged(), QStringList(QStringLiteral("-[Filter apply] maxBufferNumFrames == 0")));
        EXPECT_EQ(recorder.progresses, std::vector<double>{0.0});
        EXPECT_EQ(recorder.numFinished, 0);
    }
    const LogCapture log;
    filter.processingWillBegin();
    EXPECT_EQ(log.logged(),
              QStringList(QStringLiteral("-[Filter processingWillBegin:] maxBufferNumFrames == 0")));
    EXPECT_EQ(filter.maxBufferNumFrames(), 2048U);
}

TEST(Filter, EveryEffectLeavesTheDocumentAloneWhenTheDiskIsFull)
{
    constexpr int64_t numFrames = 400000;
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        SCOPED_TRACE(entry.scriptName.toStdString());
        if (entry.scriptName == QLatin1String("swap channels"))
            continue; // It moves clips, and writes nothing.
        const auto document = documentOf({kit::noise(numFrames, 1), kit::noise(numFrames, 2)});
        const TrackList before = document->audioTracks();
        // Room for nothing, for some batches, and for all but the last samples.
        for (const rlim_t numBytes : {rlim_t(10), rlim_t(600000), rlim_t(4 * numFrames)}) {
            const std::unique_ptr<Filter> filter = entry.make(entry.menuTitle);
            kit::FilterRecorder recorder;
            const kit::FileSizeLimit fullDisk(numBytes);
            const MaybeError error = kit::applyTo(document, *filter, kit::everythingOf(*document), &recorder);
            ASSERT_TRUE(error);
            EXPECT_EQ(error->code, Error::Code::diskFull);
            EXPECT_EQ(recorder.numFinished, 1);
        }
        EXPECT_EQ(document->audioTracks(), before);
        EXPECT_EQ(document->undoManager().count(), 0);
    }
}

// A product that no float holds would become infinite, and everything computed from it then.
TEST(Filter, EveryEffectFailsWhereItsResultIsNoFiniteNumber)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    for (const float wrong : {infinity, -infinity, std::numeric_limits<float>::quiet_NaN()}) {
        for (const EffectEntry& entry : EffectRegistry::effects()) {
            SCOPED_TRACE(entry.scriptName.toStdString());
            if (entry.scriptName == QLatin1String("interpolate") ||
                entry.scriptName == QLatin1String("swap channels"))
                continue; // They look at the selection's ends only, and at nothing.
            const auto document = documentOf({ramp(100'000, 0), ramp(100'000, 1)});
            FloatBuffer samples = ramp(100'000, 2);
            samples[77'777] = wrong;
            document->replaceDataAtOffset(0, 100'000, 1, ClipList(AudioClipPtr(kit::clipOf(samples))));
            document->undoManager().clear();
            const TrackList before = document->audioTracks();
            const std::unique_ptr<Filter> filter = kit::effectNamed(entry.scriptName);
            const MaybeError error = kit::applyTo(document, *filter, kit::everythingOf(*document));
            ASSERT_TRUE(error);
            EXPECT_TRUE(error->message.contains(QStringLiteral("infinite or no numbers")));
            EXPECT_FALSE(error->isUserCancelled());
            EXPECT_EQ(document->audioTracks(), before);
            EXPECT_EQ(document->undoManager().count(), 0);
        }
    }
    // The largest that a float holds is one.
    const auto document = documentOf({{FLT_MAX, -FLT_MAX}});
    EXPECT_FALSE(
        kit::applyTo(document, *kit::effectNamed(QStringLiteral("invert")), kit::everythingOf(*document)));
    EXPECT_EQ(samplesOf(*document, 0), (FloatBuffer{-FLT_MAX, FLT_MAX}));
}

TEST(Filter, ResultsOfLossySoundAreKnownAsSuch)
{
    for (const bool isLossy : {true, false}) {
        const auto clip = MutableAudioClip::clipWithSampleRate(44'100);
        clip->setStoredSamples({0, false, isLossy});
        EXPECT_FALSE(clip->appendData(ramp(100, 0)));
        for (const int64_t mostScratchBytes : {INT64_MAX, int64_t{0}}) {
            const auto document = documentOf({ramp(100, 1)});
            document->replaceDataAtOffset(40, 20, 0, ClipList(clip->subdataWithOffset(0, 20)));
            const auto applied = [&](int64_t start, int64_t end) {
                const std::unique_ptr<Filter> filter = kit::effectNamed(QStringLiteral("reverse"));
                filter->setMostScratchBytes(mostScratchBytes);
                EXPECT_FALSE(kit::applyTo(document, *filter, kit::framesOf(*document, start, end)));
                return (*document->audioTracks())[0]
                    ->clipsAtOffset(start, end - start)
                    .at(0)
                    ->storedSamples();
            };
            EXPECT_FALSE(applied(0, 40).isLossy) << "only what is selected counts";
            EXPECT_EQ(applied(0, 100).isLossy, isLossy) << mostScratchBytes;
        }
    }
}

ptrdiff_t numScratchFiles()
{
    const std::filesystem::directory_iterator files(ScratchFolder::path());
    return std::distance(begin(files), end(files));
}

TEST(Filter, EveryEffectCanBeCancelledAtEachBlock)
{
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        SCOPED_TRACE(entry.scriptName.toStdString());
        kit::TrackSamples tracks = kit::differentTracks(40000);
        tracks.pop_back(); // What is not finite ends an effect by itself.
        const auto document = documentOf(tracks);
        const TrackList before = document->audioTracks();
        const auto numFiles = numScratchFiles();
        bool wasCancelled = true;
        int numBlocks = 0;
        while (wasCancelled) {
            const std::shared_ptr<Filter> filter = entry.make(entry.menuTitle);
            // Without a change this one does nothing that could be cancelled.
            filter->setParameters({{QStringLiteral("Semitones"), 2.0}});
            kit::FilterRecorder recorder(++numBlocks);
            EXPECT_FALSE(
                kit::applyTo(document, *filter, kit::framesOf(*document, 1000, 39000, 1, 2), &recorder));
            wasCancelled = filter->wasCancelled();
            EXPECT_LE(recorder.numFinished, 1);
            if (!wasCancelled)
                continue;
            EXPECT_EQ(document->audioTracks(), before);
            EXPECT_EQ(kit::samplesOf(*document), tracks);
            EXPECT_EQ(document->undoManager().count(), 0);
            EXPECT_TRUE(recorder.inserted.empty());
            EXPECT_EQ(numScratchFiles(), numFiles);
        }
        EXPECT_EQ(document->undoManager().count(), 1) << "after " << numBlocks << " cancelled runs";
    }
}

/// The effect's first pass over a part of a document, as a preview pulls it.
kit::TrackSamples previewed(const EffectEntry& entry, const std::shared_ptr<SoundDocument>& document,
                            const SoundSelection& selection, uint64_t blockNumFrames)
{
    const std::shared_ptr<Filter> filter = entry.make(entry.menuTitle);
    filter->setSource(std::make_shared<DocumentSource>(document, selection));
    EXPECT_FALSE(filter->measureForPreview());
    filter->begin();
    kit::TrackSamples heard;
    SampleBlock block;
    int64_t remaining = filter->numFrames();
    while (remaining > 0) {
        const uint64_t count = std::min(blockNumFrames, static_cast<uint64_t>(remaining));
        if (!filter->requestDataWithNumFrames(count, block))
            break;
        heard.resize(block.size());
        for (size_t track = 0; track < block.size(); ++track)
            heard[track].insert(heard[track].end(), block[track].begin(), block[track].end());
        remaining -= static_cast<int64_t>(count);
    }
    filter->processingFinished();
    return heard;
}

TEST(Filter, AnEffectThatIsHeardFirstIsThatWhichIsApplied)
{
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        const std::shared_ptr<Filter> filter = entry.make(entry.menuTitle);
        // Noise is another each time, and the engine for what is heard at once is not that for results.
        if (!filter->hasOptionsDialog() || entry.scriptName == u"add noise" ||
            entry.scriptName == u"change pitch")
            continue;
        for (const uint64_t blockNumFrames : {512U, 2205U}) {
            SCOPED_TRACE(entry.scriptName.toStdString());
            kit::TrackSamples tracks = kit::differentTracks(60000);
            tracks.pop_back();
            const auto document = documentOf(tracks);
            const SoundSelection selection = kit::framesOf(*document, 21000, 50000, 0, 3);
            const kit::TrackSamples heard = previewed(entry, document, selection, blockNumFrames);
            EXPECT_FALSE(kit::applyTo(document, *filter, selection));
            kit::TrackSamples applied = kit::samplesOf(*document);
            for (FloatBuffer& track : applied)
                track = FloatBuffer(track.begin() + 21000, track.begin() + 50000);
            EXPECT_EQ(heard, applied);
            document->undoManager().undo();
        }
    }
}

TEST(Filter, CancelledRunsLeaveNoScratchFiles)
{
    const auto document = documentOf({kit::noise(200000, 1)});
    const auto numBefore = numScratchFiles();
    for (const int cancelAfter : {1, 95}) {
        TestFilter filter;
        kit::FilterRecorder recorder(cancelAfter);
        kit::applyTo(document, filter, kit::everythingOf(*document), &recorder);
        EXPECT_EQ(numScratchFiles(), numBefore);
    }
}

/// The document of differentTracks() after an effect on part of it, its tracks cut once more and read from
/// the back in pieces.
kit::TrackSamples resultReadBackwards(const EffectEntry& entry, int64_t mostScratchBytes)
{
    const auto document = documentOf(kit::differentTracks(30000));
    const std::shared_ptr<Filter> filter = entry.make(entry.menuTitle);
    filter->setMostScratchBytes(mostScratchBytes);
    EXPECT_FALSE(kit::applyTo(document, *filter, kit::framesOf(*document, 1000, 29000, 1, 2)));
    kit::TrackSamples result;
    for (int32_t track = 0; track < document->trackCount(); ++track) {
        document->replaceDataAtOffset(5000, 100, track, ClipList());
        result.emplace_back(static_cast<size_t>(document->numberOfFrames()));
        for (size_t end = result.back().size(); end > 0;) {
            const size_t start = end - std::min<size_t>(end, 777);
            const std::span<float> piece(result.back().data() + start, end - start);
            (*document->audioTracks())[static_cast<size_t>(track)]->readSamples(static_cast<int64_t>(start),
                                                                                piece);
            end = start;
        }
    }
    return result;
}

TEST(Filter, ResultsComputedWhenReadAreThoseOfScratchFiles)
{
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        SCOPED_TRACE(entry.scriptName.toStdString());
        const kit::TrackSamples written = resultReadBackwards(entry, INT64_MAX);
        const kit::TrackSamples computed = resultReadBackwards(entry, 0);
        ASSERT_EQ(computed.size(), written.size());
        for (size_t track = 0; track < written.size(); ++track) {
            EXPECT_EQ(computed[track], written[track]);
        }
    }
}

TEST(Filter, ResultsComputedWhenReadNeedNoScratchFile)
{
    const auto document = documentOf({ramp(30000, 0), ramp(30000, 1)});
    const kit::FileSizeLimit nothingFits(10);
    for (const char* const name : {"amplify", "normalize", "reverse", "invert", "fade in", "flange"}) {
        const std::shared_ptr<Filter> filter = kit::effectNamed(QString::fromLatin1(name));
        filter->setMostScratchBytes(30000 * 2 * 4 - 1);
        EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document))) << name;
        document->undoManager().undo();
        filter->setMostScratchBytes(30000 * 2 * 4);
        EXPECT_TRUE(kit::applyTo(document, *filter, kit::everythingOf(*document))) << name;
    }
}

TEST(Filter, SelectsTheNewDataWithinItsStep)
{
    const auto document = documentOf({ramp(1000, 0)});
    kit::ControllerRecorder controller(*document);
    const SoundSelection before = kit::framesOf(*document, 100, 300);
    const SoundSelection after = kit::framesOf(*document, 5, 6);
    controller.selection = before;
    TestFilter filter;
    kit::FilterRecorder recorder;
    recorder.didInsert = [&] { controller.selection = after; };
    EXPECT_FALSE(kit::applyTo(document, filter, before, &recorder));
    document->undoManager().undo();
    EXPECT_EQ(controller.selection, before);
    document->undoManager().redo();
    EXPECT_EQ(controller.selection, after);
}

TEST(Filter, OffersTheFormulasOfItsEffects)
{
    EXPECT_DOUBLE_EQ(Filter::factorWithDecibels(20.0), 10.0);
    EXPECT_DOUBLE_EQ(Filter::factorWithDecibels(-6.0), std::pow(10.0, -0.3));
    EXPECT_NEAR(Filter::blackmanWindowAtPosition(0.0), 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(Filter::blackmanWindowAtPosition(0.5), 1.0);
    EXPECT_NEAR(Filter::blackmanWindowAtPosition(0.25), 0.34, 1e-15);
}

} // namespace
