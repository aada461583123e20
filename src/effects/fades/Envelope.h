#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace velloria
{

/// A curve of straight lines through points: x from 0 to 1 over a selection, y a gain factor.
class Envelope
{
public:
    struct Point {
        double x = 0;
        double y = 1;
    };

    Envelope() = default;
    /// From x0, y0, x1, y1, ...; half a point at the end is left out.
    explicit Envelope(std::span<const double> numbers);

    const std::vector<Point>& points() const { return mPoints; }

    /// The level of frames `mark`, `mark` + 1, ... of `numFrames`, which are counted in single precision.
    /// Before the first point and behind the last one the line goes on level; fewer than two points are
    /// silence.
    void getLevels(float mark, float numFrames, std::span<double> levels) const;

private:
    double levelBefore(size_t index, double position) const;

    std::vector<Point> mPoints;
};

} // namespace velloria
