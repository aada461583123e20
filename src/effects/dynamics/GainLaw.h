#pragma once

#include <span>

namespace velloria
{

/// What gain a level asks for, by a straight line in dB on one side of a threshold. Single values go in and
/// come out in place, in loops that the compiler vectorises: logarithms and powers would otherwise take most
/// of an effect's time. Exact to some 1e-11, before the roundings to single precision that are named here.
struct GainLaw {
    double decibelsPerDecade = 20; ///< of the detector's value: 20 of an amplitude, 10 of a power
    double thresholdDB = 0;
    double ratio = 1;

    /// Above the threshold the level rises by 1 dB where it rose by `ratio`; below it the gain is 1. Levels
    /// and lowered levels are rounded to single precision.
    void compress(std::span<float> values) const;
    /// Below the threshold the gain falls by `ratio` dB for each dB that the level does; above it is 1.
    /// Levels and gains in dB are rounded to single precision. Silence has the gain 0.
    void expand(std::span<float> values) const;
};

} // namespace velloria
