#include "document/ClipboardClip.h"
#include "document/DocumentKit.h"
#include "document/TrackRateConversion.h"
#include "platform/DispatchQueue.h"

#include <cmath>
#include <numbers>

namespace velloria
{

namespace
{

FloatBuffer sine(double frequency, double rate, int64_t numFrames)
{
    FloatBuffer samples(static_cast<size_t>(numFrames));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>(
            0.5 * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
    return samples;
}

} // namespace

TEST(DocumentConversions, MixesDownWithVolumesAndPans)
{
    SilentProgress progress;
    const FloatBuffer left = kit::noise(40'000, 1);
    const FloatBuffer right = kit::noise(30'000, 2);
    const auto mono = kit::documentOf({left, right});
    (*mono->audioTracks())[1]->setScalarVolume(0.5);
    EXPECT_FALSE(mono->mixdownToMono(progress));
    ASSERT_EQ(mono->trackCount(), 1);
    const FloatBuffer mixed = kit::samplesOf(*mono, 0);
    ASSERT_EQ(mixed.size(), left.size());
    for (size_t i = 0; i < mixed.size(); ++i)
        ASSERT_FLOAT_EQ(mixed[i], left[i] * 0.5F + (i < right.size() ? right[i] * 0.25F : 0.0F));
    EXPECT_EQ(kit::pansOf(*mono), std::vector<double>{0.0});

    const auto stereo = kit::documentOf({left, right, left});
    (*stereo->audioTracks())[0]->setPan(-1.0);
    (*stereo->audioTracks())[1]->setPan(0.5);
    EXPECT_FALSE(stereo->mixdownToStereo(progress));
    EXPECT_EQ(kit::pansOf(*stereo), (std::vector<double>{-1.0, 1.0}));
    const kit::TrackSamples sides = kit::samplesOf(*stereo);
    for (size_t i = 0; i < right.size(); ++i) {
        ASSERT_FLOAT_EQ(sides[0][i], left[i] + right[i] * 0.5F + left[i]);
        ASSERT_FLOAT_EQ(sides[1][i], right[i] + left[i]);
    }
}

TEST(DocumentConversions, MixesManyTracksAsALoopDoes)
{
    // Lengths on both sides of the blocks' ends.
    const size_t lengths[] = {50'000, 16'384, 16'385, 32'768, 1, 0, 40'000, 49'999};
    std::vector<FloatBuffer> sounds;
    for (size_t i = 0; i < std::size(lengths); ++i)
        sounds.push_back(kit::noise(lengths[i], static_cast<unsigned>(i + 1)));
    const double pans[] = {-1.0, 1.0, 0.0, -0.3, 0.7, 0.1, 0.25, -0.999};
    for (const bool isStereo : {false, true}) {
        const auto document = kit::documentOf(sounds);
        for (size_t i = 0; i < sounds.size(); ++i) {
            (*document->audioTracks())[i]->setPan(pans[i]);
            (*document->audioTracks())[i]->setScalarVolume(0.1 + 0.3 * static_cast<double>(i));
        }
        SilentProgress progress;
        EXPECT_FALSE(isStereo ? document->mixdownToStereo(progress) : document->mixdownToMono(progress));
        const kit::TrackSamples mixed = kit::samplesOf(*document);
        ASSERT_EQ(mixed.size(), isStereo ? 2U : 1U);
        for (size_t side = 0; side < mixed.size(); ++side) {
            ASSERT_EQ(mixed[side].size(), 50'000U);
            for (size_t frame = 0; frame < 50'000; ++frame) {
                double sum = 0.0;
                for (size_t i = 0; i < sounds.size(); ++i) {
                    const double balance =
                        side == 0 ? 1.0 - std::max(0.0, pans[i]) : 1.0 + std::min(0.0, pans[i]);
                    const double volume = 0.1 + 0.3 * static_cast<double>(i);
                    if (frame < sounds[i].size())
                        sum += sounds[i][frame] * volume * (isStereo ? balance : 0.5);
                }
                ASSERT_NEAR(mixed[side][frame], sum, 2e-6) << side << " " << frame;
            }
        }
    }
}

TEST(DocumentConversions, ACancelledMixdownKeepsWhatWasMixed)
{
    const auto document = kit::documentOf({kit::ramp(50'000, 0), kit::ramp(50'000, 0)});
    kit::ProgressRecorder progress(2);
    EXPECT_FALSE(document->mixdownToMono(progress));
    EXPECT_EQ(kit::samplesOf(*document, 0), kit::ramp(32'768, 0));
    document->undoManager().undo();
    EXPECT_EQ(document->trackCount(), 2);
}

TEST(DocumentConversions, ResamplesWithMarkersPansAndRateAsOneStep)
{
    const auto document = kit::documentOf({sine(441, 44100, 44'101), sine(1000, 44100, 22'050)});
    document->updateTrackPanning();
    (*document->audioTracks())[1]->setScalarVolume(0.25);
    kit::setMarkers(*document, {0, 147, 22'050, 44'101});
    document->undoManager().clear();
    const kit::TrackSamples before = kit::samplesOf(*document);

    SilentProgress progress;
    EXPECT_FALSE(document->resampleTo(48'000, document->totalTime(), progress));
    EXPECT_EQ(document->sampleRate(), 48'000);
    EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), (std::vector<int64_t>{0, 160, 24'000, 48'001}));
    EXPECT_EQ(kit::pansOf(*document), (std::vector<double>{-1.0, 1.0}));
    EXPECT_EQ((*document->audioTracks())[1]->scalarVolume(), 0.25);
    EXPECT_EQ((*document->audioTracks())[0]->length(), 48'002);
    EXPECT_EQ((*document->audioTracks())[1]->length(), 24'000);
    const FloatBuffer converted = kit::samplesOf(*document, 0);
    const FloatBuffer expected = sine(441, 48'000, 48'002);
    for (size_t i = 2000; i < 46'000; ++i)
        ASSERT_NEAR(converted[i], expected[i], 1e-5);

    document->undoManager().undo();
    EXPECT_EQ(document->sampleRate(), 44'100);
    EXPECT_EQ(kit::samplesOf(*document), before);
    EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), (std::vector<int64_t>{0, 147, 22'050, 44'101}));
}

TEST(DocumentConversions, ResamplesManySinesAtOnceToWhatTheyAreAtTheNewRate)
{
    struct Pair {
        double from;
        double to;
    };
    const Pair pairs[] = {{44100, 48000}, {48000, 44100}, {44100, 22050}, {22050, 192000},
                          {96000, 44100}, {44100, 44056}, {192000, 8000}, {8000, 11025}};
    for (const Pair pair : pairs) {
        SCOPED_TRACE(testing::Message() << pair.from << " to " << pair.to);
        // Close to the end of the passband the level falls by up to 0.01 dB; the whole is right to some 95
        // dB.
        const double highest = 0.4 * std::min(pair.from, pair.to);
        const auto soundAt = [highest](double seconds, int track) {
            double sum = 0.0;
            for (int k = 1; k <= 12; ++k)
                sum += std::sin(2 * std::numbers::pi * highest * k / 12.0 * seconds + k * k + track);
            return sum / 12.0;
        };
        const auto numFrames = static_cast<size_t>(pair.from / 2.0) + 1;
        std::vector<FloatBuffer> sounds(3, FloatBuffer(numFrames));
        for (int track = 0; track < 3; ++track)
            for (size_t i = 0; i < numFrames; ++i)
                sounds[static_cast<size_t>(track)][i] =
                    static_cast<float>(soundAt(static_cast<double>(i) / pair.from, track));
        const auto document = kit::documentOf(sounds);
        document->undoableSetSampleRate(pair.from);
        SilentProgress progress;
        EXPECT_FALSE(document->resampleTo(pair.to, document->totalTime(), progress));
        const kit::TrackSamples converted = kit::samplesOf(*document);
        ASSERT_EQ(converted.size(), 3U);
        // Where it begins and ends there is silence beside it, which is part of the sound.
        const auto edge = static_cast<size_t>(0.1 * pair.to);
        for (int track = 0; track < 3; ++track) {
            const FloatBuffer& samples = converted[static_cast<size_t>(track)];
            EXPECT_EQ(samples.size(),
                      static_cast<size_t>(std::ceil(static_cast<double>(numFrames) * pair.to / pair.from)));
            for (size_t i = edge; i + edge < samples.size(); ++i)
                ASSERT_NEAR(samples[i], soundAt(static_cast<double>(i) / pair.to, track), 2e-5) << i;
        }
    }
}

TEST(DocumentConversions, AnotherDurationAtTheRateThatItAmountsToMovesNoSample)
{
    const auto document = kit::documentOf({kit::ramp(44'100, 0)});
    SilentProgress progress;
    // 44100 frames in two seconds are 22050 Hz.
    EXPECT_FALSE(document->resampleTo(22'050, 2.0, progress));
    EXPECT_EQ(document->sampleRate(), 22'050);
    EXPECT_EQ(kit::samplesOf(*document, 0), kit::ramp(44'100, 0));
}

TEST(DocumentConversions, ACancelledConversionEndsWithTheTrackThatItStoodIn)
{
    const std::vector<AudioTrackPtr> tracks(4, kit::trackOf(kit::noise(400'000, 1)));
    kit::ProgressRecorder progress(1);
    MaybeError error;
    const auto converted = TrackRateConversion(44'100, 22'050).convert(tracks, progress, &error);
    EXPECT_FALSE(error);
    ASSERT_EQ(converted.size(), 1);
    EXPECT_EQ(converted.front()->length(), 65'536);
}

TEST(DocumentConversions, ACancelledResamplingMovesMarkersAndThenTheRateAllTheSame)
{
    /// What the document has when the markers are told.
    class Observer : public kit::ControllerRecorder
    {
    public:
        explicit Observer(SoundDocument& document)
            : ControllerRecorder(document)
            , observed(document)
        {
        }
        void markersDidChange() override { seen.emplace_back(observed.trackCount(), observed.sampleRate()); }

        SoundDocument& observed;
        std::vector<std::pair<int32_t, double>> seen;
    };
    const kit::TrackSamples before = {kit::noise(400'000, 1), kit::noise(400'000, 2)};
    const auto document = kit::documentOf(before);
    kit::setMarkers(*document, {1, 399'999});
    document->undoManager().clear();
    Observer observer(*document);
    kit::ProgressRecorder progress(1);
    EXPECT_FALSE(document->resampleTo(22'050, document->totalTime(), progress));
    ASSERT_EQ(document->trackCount(), 1);
    EXPECT_EQ(document->numberOfFrames(), 65'536);
    // Halves are rounded away from 0, also beyond the end.
    EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), (std::vector<int64_t>{1, 200'000}));
    EXPECT_EQ(observer.seen, (std::vector{std::pair(int32_t{1}, 44'100.0)}));
    EXPECT_EQ(document->sampleRate(), 22'050);
    document->undoManager().undo();
    EXPECT_EQ(kit::samplesOf(*document), before);
    EXPECT_EQ(document->sampleRate(), 44'100);
}

TEST(DocumentConversions, AFullDiskLeavesTheDocumentAsItWas)
{
    const auto document = kit::documentOf({kit::noise(300'000, 1), kit::noise(300'000, 2)});
    const TrackList before = document->audioTracks();
    SilentProgress progress;
    const kit::FileSizeLimit limit(100'000);
    EXPECT_TRUE(document->resampleTo(48'000, document->totalTime(), progress));
    EXPECT_TRUE(document->mixdownToMono(progress));
    EXPECT_EQ(document->audioTracks(), before);
    EXPECT_EQ(document->sampleRate(), 44'100);
    EXPECT_EQ(document->undoManager().count(), 0);
}

TEST(DocumentConversions, ConvertsWhileItIsReadInAnyOrderOnAnyThread)
{
    constexpr int64_t kLength = 435'375; // ceil(400000 x 48000 / 44100)
    constexpr int64_t kPiece = 5000;
    const std::vector<AudioTrackPtr> tracks{kit::trackOf(kit::noise(400'000, 1))};
    TrackRateConversion conversion(44'100, 48'000);
    SilentProgress progress;
    const FloatBuffer expected =
        conversion.convert(tracks, progress, nullptr)[0]->sampleDataAtOffset(0, kLength + 100);
    const kit::FileSizeLimit noScratchFiles(100);
    const AudioTrackPtr track = conversion.convertWhenRead(tracks, nullptr)[0];
    ASSERT_EQ(track->length(), kLength);

    FloatBuffer all(expected.size());
    const auto readPiece = [&](int i) {
        const int64_t offset = i * kPiece;
        const auto count = static_cast<size_t>(std::min(kPiece, std::ssize(all) - offset));
        track->readSamples(offset, std::span(all).subspan(static_cast<size_t>(offset), count));
    };
    runConcurrently(static_cast<int>((std::ssize(all) + kPiece - 1) / kPiece), readPiece);
    EXPECT_EQ(all, expected);
    // Pieces again that were given away: from the middle, then from the front.
    for (const int i : {40, 39, 0, 86, 3}) {
        std::fill(all.begin() + i * kPiece, all.begin() + std::min((i + 1) * kPiece, std::ssize(all)), 2.0F);
        readPiece(i);
        ASSERT_EQ(all, expected) << i;
    }
}

TEST(DocumentConversions, ADocumentThatIsSavedNextNeedsNoScratchFileForItsNewRate)
{
    constexpr int64_t kScratchBytes = 15'000 * int64_t{2 * sizeof(float)};
    const auto scratch = kit::documentOf({kit::noise(30'000, 1), kit::noise(20'000, 2)});
    const auto computed = kit::documentOf({kit::noise(30'000, 1), kit::noise(20'000, 2)});
    SilentProgress progress;
    ASSERT_FALSE(scratch->resampleTo(22'050, scratch->totalTime(), progress, kScratchBytes));
    {
        const kit::FileSizeLimit limit(100);
        ASSERT_TRUE(computed->resampleTo(22'050, computed->totalTime(), progress, kScratchBytes));
        ASSERT_FALSE(computed->resampleTo(22'050, computed->totalTime(), progress, kScratchBytes - 1));
    }
    EXPECT_EQ(kit::samplesOf(*computed), kit::samplesOf(*scratch));
    EXPECT_EQ(computed->sampleRate(), 22'050);
}

TEST(DocumentConversions, HalvesFramesRoundedUpAndMarkersTruncated)
{
    ClipboardClip clip(44'100);
    clip.addTrack(kit::trackOf(kit::noise(1001, 1)));
    clip.addTrack(kit::trackOf(kit::noise(10, 2)));
    clip.addMarkers({kit::markerAt(7)});
    SilentProgress progress;
    const auto converted = clip.tracks(2, 22'050, progress, nullptr);
    ASSERT_EQ(converted.size(), 2);
    EXPECT_EQ(converted[0]->length(), 501);
    EXPECT_EQ(converted[1]->length(), 5);
    EXPECT_EQ(kit::positionsOf(clip.markersAtSampleRate(22'050)), (std::vector<int64_t>{3}));
    EXPECT_EQ(clip.tracks(2, 44'100, progress, nullptr), clip.tracks());
}

} // namespace velloria
