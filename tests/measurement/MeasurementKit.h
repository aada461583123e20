#pragma once

#include "document/clips/AudioTrack.h"
#include "document/clips/MutableAudioClip.h"
#include "platform/Progress.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

/// What the tests of measurements share: sounds whose figures are known.
namespace velloria::kit
{

inline FloatBuffer sine(double frequency, double level, double seconds, double rate, double phase = 0.0)
{
    FloatBuffer samples(static_cast<size_t>(std::lround(seconds * rate)));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>(
            level * std::sin(2.0 * std::numbers::pi * frequency * static_cast<double>(i) / rate + phase));
    return samples;
}

inline FloatBuffer noise(size_t count, unsigned seed, float level)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> distribution(-level, level);
    FloatBuffer samples(count);
    for (float& sample : samples)
        sample = distribution(random);
    return samples;
}

inline std::vector<AudioTrackPtr> tracksOf(const std::vector<FloatBuffer>& samples)
{
    std::vector<AudioTrackPtr> tracks;
    for (const FloatBuffer& buffer : samples) {
        auto clip = std::make_shared<MutableAudioClip>(44100.0);
        EXPECT_FALSE(clip->appendData(buffer));
        clip->finalizeCache();
        tracks.push_back(std::make_shared<AudioTrack>(ClipList(AudioClipPtr(clip))));
    }
    return tracks;
}

class CancellingProgress : public SilentProgress
{
public:
    bool isCancelled() const override { return true; }
};

} // namespace velloria::kit
