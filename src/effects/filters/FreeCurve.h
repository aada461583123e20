#pragma once

#include <span>
#include <vector>

namespace velloria
{

/// A level in dB over frequency through some points, drawn over the logarithm of the frequency. Between two
/// points it never leaves the range of their levels; before the first and after the last it is level.
class FreeCurve
{
public:
    static constexpr double kMostDB = 48.0;

    /// frequency, dB, frequency, dB, ... in any order. Frequencies of 0 or less are left out, levels brought
    /// within kMostDB, and of two points of one frequency the later one counts.
    explicit FreeCurve(std::span<const double> numbers);

    /// 0 without points.
    double decibelsAt(double frequency) const;
    /// Whether it is 0 everywhere.
    bool isFlat() const;

private:
    struct Point {
        double place = 0.0; ///< octaves above 1 Hz
        double level = 0.0; ///< dB
        double slope = 0.0; ///< dB an octave
    };
    void setSlopes();

    std::vector<Point> mPoints;
};

} // namespace velloria
