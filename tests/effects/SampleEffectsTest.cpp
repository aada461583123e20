#include "effects/EffectKit.h"

#include <bit>

using namespace velloria;

namespace
{

/// An effect as a plain formula: track t, frame i of N.
using Formula = std::function<float(const kit::TrackSamples& in, size_t track, size_t i, size_t numFrames)>;

struct Case {
    QString scriptName;
    QVariantMap arguments;
    Formula formula;
};

std::vector<Case> cases()
{
    const auto fade = [](size_t i, size_t n) { return static_cast<float>(i) / static_cast<float>(n); };
    return {
        {QStringLiteral("amplify"),
         {{QStringLiteral("Gain"), -6.0}},
         [](auto& in, size_t t, size_t i, size_t) {
             return in[t][i] * static_cast<float>(std::pow(10.0, -0.3));
         }},
        {QStringLiteral("amplify"), {}, [](auto& in, size_t t, size_t i, size_t) { return in[t][i]; }},
        {QStringLiteral("invert"), {}, [](auto& in, size_t t, size_t i, size_t) { return -in[t][i]; }},
        {QStringLiteral("fade in"),
         {},
         [fade](auto& in, size_t t, size_t i, size_t n) { return fade(i, n) * in[t][i]; }},
        {QStringLiteral("fade out"),
         {},
         [fade](auto& in, size_t t, size_t i, size_t n) { return (1.0F - fade(i, n)) * in[t][i]; }},
        {QStringLiteral("swap channels"),
         {},
         [](auto& in, size_t t, size_t i, size_t) {
             const size_t other = t ^ 1U;
             return in[other < in.size() ? other : t][i];
         }},
        {QStringLiteral("reverse"),
         {},
         [](auto& in, size_t t, size_t i, size_t n) { return in[t][n - 1 - i]; }},
    };
}

/// Bit for bit, so that a NaN equals itself; the sign and payload of a NaN are left to the processor.
bool areSame(float a, float b)
{
    return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b) || (std::isnan(a) && std::isnan(b));
}

void expectFormula(const Case& c, const kit::TrackSamples& in, const kit::TrackSamples& out)
{
    ASSERT_EQ(out.size(), in.size());
    for (size_t track = 0; track < in.size(); ++track) {
        ASSERT_EQ(out[track].size(), in[track].size());
        for (size_t i = 0; i < in[track].size(); ++i)
            ASSERT_TRUE(areSame(out[track][i], c.formula(in, track, i, in[track].size())))
                << "track " << track << " frame " << i << ": " << out[track][i];
    }
}

TEST(SampleEffects, FollowTheirFormulaOverAnyLength)
{
    for (const Case& c : cases()) {
        for (const size_t numFrames : {1UL, 2UL, 17UL, 2048UL, 16385UL, 150001UL}) {
            SCOPED_TRACE(c.scriptName.toStdString() + " over " + std::to_string(numFrames));
            for (const size_t numTracks : {1UL, 3UL, 4UL}) {
                kit::TrackSamples in = kit::differentTracks(numFrames);
                in.resize(numTracks);
                const auto document = kit::documentOf(in);
                const auto filter = kit::effectNamed(c.scriptName);
                filter->setParameters(c.arguments);
                EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
                expectFormula(c, in, kit::samplesOf(*document));
                EXPECT_EQ(document->undoManager().count(), 1);
            }
        }
    }
}

TEST(SampleEffects, DoNotDependOnBlockSizes)
{
    const kit::TrackSamples in = kit::differentTracks(10007);
    const auto document = kit::documentOf(in);
    for (const Case& c : cases()) {
        // Reversing depends on the order in which its own run asks for blocks.
        if (c.scriptName == QLatin1String("reverse"))
            continue;
        SCOPED_TRACE(c.scriptName.toStdString());
        const auto filter = kit::effectNamed(c.scriptName);
        filter->setParameters(c.arguments);
        for (const std::vector<uint64_t>& sizes :
             {std::vector<uint64_t>{10007}, {1, 2, 3, 5, 7}, {4096}, {15, 16, 17, 1000}})
            expectFormula(c, in, kit::pulled(*filter, document, sizes));
    }
}

TEST(SampleEffects, TouchOnlyTheSelection)
{
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.scriptName.toStdString());
        const kit::TrackSamples in = {kit::noise(5000, 1), kit::noise(5000, 2), kit::noise(5000, 3)};
        const auto document = kit::documentOf(in);
        document->addMarker(kit::markerAt(4321));
        const auto filter = kit::effectNamed(c.scriptName);
        filter->setParameters(c.arguments);
        kit::FilterRecorder recorder;
        EXPECT_FALSE(kit::applyTo(document, *filter, kit::framesOf(*document, 333, 4444, 1, 2), &recorder));

        kit::TrackSamples selected;
        kit::TrackSamples processed;
        kit::TrackSamples out = kit::samplesOf(*document);
        for (const size_t track : {1UL, 2UL}) {
            selected.emplace_back(in[track].begin() + 333, in[track].begin() + 4444);
            processed.emplace_back(out[track].begin() + 333, out[track].begin() + 4444);
            std::copy(in[track].begin() + 333, in[track].begin() + 4444, out[track].begin() + 333);
        }
        expectFormula(c, selected, processed);
        EXPECT_EQ(out, in) << "outside the selection";
        EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), std::vector<int64_t>{4321});
        EXPECT_EQ(recorder.inserted, (std::vector<std::array<int64_t, 4>>{{333, 4111, 1, 2}}));
    }
}

TEST(SampleEffects, GiveTheSameWhenAppliedAgainToTheSameSource)
{
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.scriptName.toStdString());
        const kit::TrackSamples in = {kit::noise(5000, 1), kit::noise(5000, 2)};
        const auto document = kit::documentOf(in);
        const auto filter = kit::effectNamed(c.scriptName);
        filter->setParameters(c.arguments);
        EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
        document->undoManager().undo();
        EXPECT_FALSE(filter->apply());
        expectFormula(c, in, kit::samplesOf(*document));
    }
}

TEST(SampleEffects, KeepOrRememberIntegersThatFloatsCannotHold)
{
    for (const Case& c : cases()) {
        for (const int64_t mostScratchBytes : {INT64_MAX, int64_t{0}}) {
            SCOPED_TRACE(c.scriptName.toStdString());
            const auto document = kit::documentOf({kit::noise(500, 1), kit::noise(500, 2)});
            for (const int32_t track : {0, 1}) {
                const auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
                clip->setStoredSamples({32, false, false});
                EXPECT_FALSE(clip->appendData(kit::noise(500, 3)));
                document->replaceDataAtOffset(0, 500, track, ClipList(AudioClipPtr(clip)));
            }
            const auto filter = kit::effectNamed(c.scriptName);
            filter->setParameters(c.arguments);
            filter->setMostScratchBytes(mostScratchBytes);
            EXPECT_FALSE(kit::applyTo(document, *filter, kit::framesOf(*document, 100, 400)));
            const bool isMoved = c.scriptName == QLatin1String("swap channels");
            const StoredSamples stored = document->clipsAtOffset(200, 10, 1).at(0)->storedSamples();
            EXPECT_EQ(stored.integerBits(), isMoved ? 32 : 0);
            EXPECT_EQ(stored.integerBitsBefore, isMoved ? 0 : 32);
        }
    }
}

TEST(Backwards, KeepsWhatADocumentHasWhenTheSelectionReachesBeyondIt)
{
    const auto document = kit::documentOf({kit::ramp(20000, 0)});
    const auto filter = kit::effectNamed(QStringLiteral("reverse"));
    EXPECT_FALSE(kit::applyTo(document, *filter, kit::framesOf(*document, 0, 60000)));
    const FloatBuffer out = kit::samplesOf(*document, 0);
    ASSERT_EQ(out.size(), 20000U);
    EXPECT_EQ(out.front(), 19999.0F);
    EXPECT_EQ(out.back(), 0.0F);
}

TEST(LongFades, CountFramesInSinglePrecision)
{
    // Beyond 2^24 frames a float no longer tells neighbours apart; the ramp must go on rising all the same.
    constexpr int64_t numFrames = 20000000;
    const auto document = std::make_shared<SoundDocument>();
    const auto silence = std::make_shared<const AudioClip>(numFrames);
    document->replaceDataAtOffset(0, 0, 0, ClipList(AudioClipPtr(silence)));
    document->replaceDataAtOffset(numFrames - 2, 2, 0, ClipList(AudioClipPtr(kit::clipOf({1.0F, 1.0F}))));
    const auto filter = kit::effectNamed(QStringLiteral("fade in"));
    EXPECT_FALSE(kit::applyTo(document, *filter, kit::framesOf(*document, 0, numFrames, 0, 1)));
    const AudioTrackPtr& track = document->audioTracks()->front();
    const FloatBuffer last = track->sampleDataAtOffset(numFrames - 2, 2);
    EXPECT_EQ(last[0], (19998720.0F + 1278.0F) / 20000000.0F);
    EXPECT_LE(last[0], last[1]);
}

} // namespace
