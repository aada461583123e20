#include "effects/stretch/CutFinder.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kStepSeconds = 0.01;
constexpr double kBeforeSeconds = 0.05;
constexpr double kAfterSeconds = 0.02;
/// -75 dB of full scale, as a mean square.
constexpr double kQuiet = 3e-8;
/// An attack is so much stronger than what came before.
constexpr double kAttack = 8.0;
/// Noise is compared with itself from this lag on, over so long a stretch.
constexpr double kShortestLagSeconds = 0.002;
constexpr double kLongestLagSeconds = 0.015;
constexpr double kComparedSeconds = 0.04;
constexpr double kMostRepetitionOfNoise = 0.35;

} // namespace

CutFinder::CutFinder(const SampleBlock& sound, double sampleRate)
    : mSound(sound)
    , mSampleRate(sampleRate)
    , mNumFrames(sound.empty() ? 0 : sound.front().size())
{
}

double CutFinder::meanSquare(size_t from, size_t to) const
{
    const size_t end = std::min(to, mNumFrames);
    double sum = 0.0;
    for (const FloatBuffer& track : mSound)
        for (size_t i = from; i < end; ++i)
            sum += static_cast<double>(track[i]) * static_cast<double>(track[i]);
    return end > from ? sum / (static_cast<double>(end - from) * static_cast<double>(mSound.size())) : 0.0;
}

double CutFinder::repetition(size_t frame) const
{
    const auto count = static_cast<size_t>(kComparedSeconds * mSampleRate);
    const auto longest = static_cast<size_t>(kLongestLagSeconds * mSampleRate);
    if (frame + count + longest + 1 > mNumFrames)
        return 1.0;
    double most = 0.0;
    for (const FloatBuffer& track : mSound) {
        // Differences have less of the bass, in which all noise repeats for a while.
        std::vector<float> rises(count + longest);
        for (size_t i = 0; i < rises.size(); ++i)
            rises[i] = track[frame + i + 1] - track[frame + i];
        const auto product = [&](size_t lag) {
            double sum = 0.0;
            for (size_t i = 0; i < count; ++i)
                sum += static_cast<double>(rises[i]) * static_cast<double>(rises[i + lag]);
            return sum;
        };
        const double whole = product(0);
        for (auto lag = static_cast<size_t>(kShortestLagSeconds * mSampleRate); whole > 0.0 && lag < longest;
             ++lag)
            most = std::max(most, std::abs(product(lag)) / whole);
    }
    return most;
}

std::optional<size_t> CutFinder::find(size_t from, size_t to) const
{
    const auto frames = [this](double seconds) { return static_cast<size_t>(seconds * mSampleRate); };
    const size_t step = std::max<size_t>(1, frames(kStepSeconds));
    std::optional<size_t> attack;
    double strongest = kAttack;
    for (size_t frame = std::max(from, frames(kBeforeSeconds)); frame < to; frame += step) {
        const double before = meanSquare(frame - frames(kBeforeSeconds), frame);
        if (before < kQuiet)
            return frame;
        const double ratio = meanSquare(frame, frame + frames(kAfterSeconds)) / before;
        if (ratio > strongest) {
            strongest = ratio;
            attack = frame;
        }
    }
    if (attack)
        return attack;
    constexpr size_t numTries = 4;
    for (size_t i = 0; i < numTries; ++i)
        if (const size_t frame = from + (to - from) * i / numTries;
            repetition(frame) < kMostRepetitionOfNoise)
            return frame;
    return std::nullopt;
}

} // namespace velloria
