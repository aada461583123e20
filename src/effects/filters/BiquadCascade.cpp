#include "effects/filters/BiquadCascade.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

/// Samples that stay in the innermost cache while all sections go over them.
constexpr size_t kRunNumFrames = 256;
/// So many sections keep their states in registers together.
constexpr size_t kSectionsAtOnce = 4;
/// A state below it is silence: in numbers far smaller a processor takes a hundred times as long.
constexpr double kSilence = 1e-60;

} // namespace

BiquadCascade::BiquadCascade(const BiquadFilter& filter, size_t numTracks)
    : mFilter(filter)
    , mPairs((numTracks + 1) / 2, std::vector<State>(filter.sections.size()))
{
    const auto both = [](double value) { return Lanes{value, value}; };
    for (const Biquad& section : filter.sections)
        mCoefficients.push_back({both(section.b1 - section.a1), both(section.b2 - section.a2),
                                 both(-section.a1), both(-section.a2)});
}

/// The transposed direct form II with what the output adds to the states taken apart: only the states wait
/// for one another, so that the sections of one frame follow each other an addition apart, and a section that
/// changes little computes with small numbers.
template <size_t Count>
void BiquadCascade::runSections(const Coefficients* coefficients, State* states, std::span<Lanes> samples)
{
    std::array<State, Count> kept;
    std::copy_n(states, Count, kept.begin());
    for (Lanes& sample : samples) {
        Lanes value = sample;
        for (size_t i = 0; i < Count; ++i) {
            const Coefficients& by = coefficients[i];
            const Lanes first = kept[i].first;
            kept[i].first = by.first * value + (by.minusA1 * first + kept[i].second);
            kept[i].second = by.second * value + by.minusA2 * first;
            value += first;
        }
        sample = value;
    }
    for (State& state : kept)
        for (Lanes* const lanes : {&state.first, &state.second})
            for (int lane = 0; lane < 2; ++lane)
                if (std::abs((*lanes)[lane]) < kSilence)
                    (*lanes)[lane] = 0.0;
    std::copy_n(kept.begin(), Count, states);
}

void BiquadCascade::runAll(std::vector<State>& states, std::span<Lanes> samples) const
{
    size_t section = 0;
    const auto run = [&]<size_t Count>() {
        runSections<Count>(mCoefficients.data() + section, states.data() + section, samples);
        section += Count;
    };
    while (section + kSectionsAtOnce <= states.size())
        run.operator()<kSectionsAtOnce>();
    if (section + 2 <= states.size())
        run.operator()<2>();
    if (section < states.size())
        run.operator()<1>();
}

void BiquadCascade::processPair(size_t pair, std::span<float> first, std::span<float> second)
{
    std::array<Lanes, kRunNumFrames> run;
    const bool hasSecond = !second.empty();
    const Lanes gain = {mFilter.gain, mFilter.gain};
    for (size_t start = 0; start < first.size(); start += kRunNumFrames) {
        const size_t count = std::min(kRunNumFrames, first.size() - start);
        for (size_t i = 0; i < count; ++i) {
            const Lanes in = {first[start + i], hasSecond ? second[start + i] : 0.0F};
            run[i] = in * gain;
        }
        runAll(mPairs[pair], std::span(run).first(count));
        for (size_t i = 0; i < count; ++i) {
            first[start + i] = static_cast<float>(run[i][0]);
            if (hasSecond)
                second[start + i] = static_cast<float>(run[i][1]);
        }
    }
}

} // namespace velloria
