#pragma once

#include "effects/filters/MatchedDesign.h"

#include <span>
#include <vector>

namespace velloria
{

/// Runs a filter over the samples of some tracks, with a state for each, in double precision. Two tracks are
/// computed side by side in the halves of a vector register, because a recursion cannot be computed ahead in
/// time. Different pairs may be processed on different threads.
class BiquadCascade
{
public:
    /// From silence.
    BiquadCascade(const BiquadFilter& filter, size_t numTracks);

    const BiquadFilter& filter() const { return mFilter; }
    size_t numPairs() const { return mPairs.size(); }
    /// The next frames of the tracks 2 pair and 2 pair + 1; `second` is empty where there is no such track.
    /// Changed in place.
    void processPair(size_t pair, std::span<float> first, std::span<float> second);

private:
    // Two tracks in one register. The compilers' own vector type: no loop over tracks is left to be
    // vectorised.
    using Lanes __attribute__((vector_size(16))) = double;
    struct Coefficients {
        Lanes first;  ///< b1 - a1
        Lanes second; ///< b2 - a2
        Lanes minusA1;
        Lanes minusA2;
    };
    struct State {
        Lanes first{};
        Lanes second{};
    };
    template <size_t Count>
    static void runSections(const Coefficients* coefficients, State* states, std::span<Lanes> samples);
    void runAll(std::vector<State>& states, std::span<Lanes> samples) const;

    BiquadFilter mFilter;
    std::vector<Coefficients> mCoefficients;
    std::vector<std::vector<State>> mPairs; ///< a state for each section
};

} // namespace velloria
