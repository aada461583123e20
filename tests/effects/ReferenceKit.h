#pragma once

#include "effects/EffectKit.h"

/// Comparison of an effect with a plain formula of its own, over rates, numbers of tracks and block sizes.
namespace velloria::kit
{

/// What an effect should make of its input.
using Reference = std::function<TrackSamples(const TrackSamples& in, double rate)>;

/// Noise, an impulse, a step, silence, full scale in both directions, a sine, denormals, a slow ramp: a
/// different signal in each of eight tracks.
inline TrackSamples eightSignals(size_t numFrames)
{
    TrackSamples tracks(8, FloatBuffer(numFrames));
    tracks[0] = noise(numFrames, 1);
    tracks[1][numFrames / 7] = 1.0F;
    for (size_t i = 0; i < numFrames; ++i) {
        tracks[2][i] = i > numFrames / 3 ? 0.75F : 0.0F;
        tracks[4][i] = i / 50 % 2 == 0 ? 1.0F : -1.0F;
        tracks[5][i] = std::sin(0.05F * static_cast<float>(i));
        tracks[6][i] = (i % 2 == 0 ? 100.0F : -3.0F) * std::numeric_limits<float>::denorm_min();
        tracks[7][i] = static_cast<float>(i) / static_cast<float>(numFrames) - 0.25F;
    }
    return tracks;
}

inline void expectNear(const TrackSamples& out, const TrackSamples& expected, double tolerance)
{
    ASSERT_EQ(out.size(), expected.size());
    for (size_t track = 0; track < out.size(); ++track) {
        ASSERT_EQ(out[track].size(), expected[track].size());
        for (size_t i = 0; i < out[track].size(); ++i)
            ASSERT_NEAR(out[track][i], expected[track][i], tolerance) << "track " << track << " frame " << i;
    }
}

/// Applies the effect, and pulls it in blocks of other sizes, which must give the very same.
inline void expectLike(const QString& scriptName, const QVariantMap& arguments, const Reference& reference,
                       double tolerance, size_t numFrames = 9001)
{
    for (const auto& [rate, numTracks] :
         {std::pair{44100.0, 8UL}, {22050.0, 1UL}, {192000.0, 2UL}, {48000.0, 3UL}, {96000.0, 2UL}}) {
        SCOPED_TRACE(scriptName.toStdString() + " at " + std::to_string(rate));
        TrackSamples in = eightSignals(numFrames);
        in.resize(numTracks);
        const auto document = documentOf(in);
        document->undoableSetSampleRate(rate);
        const std::unique_ptr<Filter> filter = effectNamed(scriptName);
        ASSERT_TRUE(filter);
        filter->setParameters(arguments);
        EXPECT_FALSE(applyTo(document, *filter, everythingOf(*document)));
        const TrackSamples out = samplesOf(*document);
        expectNear(out, reference(in, rate), tolerance);
        document->undoManager().undo();
        for (const std::vector<uint64_t>& sizes :
             {std::vector<uint64_t>{numFrames}, {1, 2, 3, 5, 700}, {512}})
            expectNear(pulled(*filter, document, sizes), out, 0.0);
    }
}

} // namespace velloria::kit
