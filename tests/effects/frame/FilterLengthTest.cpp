#include "effects/EffectKit.h"

#include <numbers>

using namespace velloria;
using kit::documentOf;
using kit::ramp;
using kit::samplesOf;

namespace
{

/// Gives what it is given some frames later, and with an echo at half the level after `echo` more.
class LateFilter : public Filter
{
public:
    LateFilter()
        : Filter(QStringLiteral("Late"))
    {
    }

    void processingWillBegin() override
    {
        Filter::processingWillBegin();
        mPast.assign(static_cast<size_t>(numTracks()), FloatBuffer(static_cast<size_t>(lag + echo)));
    }
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override
    {
        if (!Filter::requestDataWithNumFrames(numFrames, block))
            return false;
        for (size_t track = 0; track < block.size(); ++track) {
            FloatBuffer& past = mPast[track];
            for (float& sample : block[track]) {
                past.push_back(sample);
                const size_t now = past.size() - 1 - static_cast<size_t>(lag);
                sample = past[now] + (echo > 0 ? 0.5F * past[now - static_cast<size_t>(echo)] : 0.0F);
            }
        }
        return true;
    }
    int64_t lagNumFrames() const override { return lag; }
    int64_t tailTimeNumFrames() const override { return echo; }
    bool letsRing() const override { return rings; }
    bool isTailCut() const override { return isCut; }

    int64_t lag = 0;
    int64_t echo = 0;
    bool rings = false;
    bool isCut = false;

private:
    kit::TrackSamples mPast;
};

TEST(FilterLength, LateOutputIsBroughtBackInTimeAndComplete)
{
    for (const int64_t lag : {1, 300, 2048, 7000}) {
        for (const auto& [start, end] : {std::pair<int64_t, int64_t>{0, 9000}, {1000, 1001}, {2000, 6100}}) {
            const auto document = documentOf({ramp(9000, 1), ramp(9000, 5)});
            document->addMarker(kit::markerAt(5000));
            const auto before = samplesOf(*document);
            LateFilter filter;
            filter.lag = lag;
            kit::FilterRecorder recorder;
            EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, start, end), &recorder));
            EXPECT_EQ(samplesOf(*document), before) << lag;
            EXPECT_EQ(recorder.progresses.back(), 1.0);
            EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), std::vector<int64_t>{5000});
        }
    }
}

/// The selection with its echo, which rings on over what follows.
FloatBuffer withEcho(FloatBuffer samples, size_t start, size_t end, size_t echo, bool rings)
{
    const FloatBuffer before = samples;
    samples.resize(rings ? std::max(samples.size(), end + echo) : samples.size());
    for (size_t i = start; i < end; ++i)
        if (i + echo < (rings ? samples.size() : end))
            samples[i + echo] += 0.5F * before[i];
    return samples;
}

TEST(FilterLength, TailsAreCutUnlessTheyAreToRing)
{
    for (const bool rings : {false, true}) {
        for (const auto& [start, end] : {std::pair<int64_t, int64_t>{0, 9000}, {1000, 6000}, {100, 8500}}) {
            const auto document = documentOf({ramp(9000, 1), kit::noise(9000, 5)});
            document->addMarker(kit::markerAt(5000));
            document->addMarker(kit::markerAt(8800));
            const auto before = samplesOf(*document);
            document->undoManager().clear();
            LateFilter filter;
            filter.lag = 77;
            filter.echo = 3000;
            filter.rings = rings;
            kit::FilterRecorder recorder;
            EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, start, end), &recorder));
            for (size_t track = 0; track < before.size(); ++track)
                EXPECT_EQ(samplesOf(*document, static_cast<int32_t>(track)),
                          withEcho(before[track], static_cast<size_t>(start), static_cast<size_t>(end), 3000,
                                   rings));
            EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), (std::vector<int64_t>{5000, 8800}))
                << "nothing moves";
            EXPECT_EQ(recorder.inserted.front()[1], end - start + (rings ? 3000 : 0));
            EXPECT_EQ(document->undoManager().count(), 1);
            document->undoManager().undo();
            EXPECT_EQ(samplesOf(*document), before);
        }
    }
}

TEST(FilterLength, ATailThatBreaksOffFadesOutOverItsLastSecond)
{
    for (const auto& [rate, echo] : {std::pair<double, int64_t>{2000.0, 5000}, {2000.0, 700}}) {
        const FloatBuffer sound = kit::noise(9000, 1);
        const auto document = documentOf({sound});
        document->undoableSetSampleRate(rate);
        LateFilter filter;
        filter.echo = echo;
        filter.rings = true;
        filter.isCut = true;
        filter.lag = 77;
        EXPECT_FALSE(kit::applyTo(document, filter, kit::framesOf(*document, 1000, 8000)));
        const FloatBuffer out = samplesOf(*document, 0);
        const FloatBuffer whole = withEcho(sound, 1000, 8000, static_cast<size_t>(echo), true);
        const int64_t end = 8000 + echo;
        const int64_t fade = std::min<int64_t>(static_cast<int64_t>(rate), echo);
        ASSERT_EQ(std::ssize(out), std::max<int64_t>(9000, end));
        for (int64_t i = 0; i < std::ssize(out); ++i) {
            const auto at = static_cast<size_t>(i);
            const double follows = at < sound.size() ? static_cast<double>(sound[at]) : 0.0;
            const double toGo = static_cast<double>(end - 1 - i) / static_cast<double>(fade);
            const bool fades = i >= 8000 && i < end && toGo < 1.0;
            const double gain = fades ? 0.5 - 0.5 * std::cos(std::numbers::pi * toGo) : 1.0;
            const double expected = i < 8000 ? static_cast<double>(whole[at])
                                             : follows + gain * (static_cast<double>(whole[at]) - follows);
            ASSERT_NEAR(out[at], expected, 1e-6) << i;
        }
    }
}

TEST(FilterLength, TheFrameThatIsHeardFollowsTheLag)
{
    const auto document = documentOf({ramp(9000, 1)});
    LateFilter filter;
    filter.lag = 300;
    filter.setSource(std::make_shared<DocumentSource>(document, kit::framesOf(*document, 1000, 2000)));
    SampleBlock block;
    for (const bool loops : {false, true}) {
        filter.source()->setLooping(loops);
        filter.begin();
        for (int64_t expected = 1000; expected < (loops ? 5000 : 2000);) {
            const int64_t inLoop = 1000 + (expected - 1000) % 1000;
            ASSERT_EQ(filter.heardFrame(), inLoop);
            ASSERT_TRUE(filter.requestDataWithNumFrames(128, block));
            for (const float sample : block.front())
                ASSERT_EQ(sample, 1.0F + static_cast<float>(1000 + (expected++ - 1000) % 1000));
        }
    }
    filter.source()->setLooping(false);
}

} // namespace
