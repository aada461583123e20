#include "effects/filters/FreeCurve.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

FreeCurve::FreeCurve(std::span<const double> numbers)
{
    for (size_t i = 0; i + 1 < numbers.size(); i += 2)
        if (numbers[i] > 0.0)
            mPoints.push_back({std::log2(numbers[i]), std::clamp(numbers[i + 1], -kMostDB, kMostDB)});
    std::stable_sort(mPoints.begin(), mPoints.end(),
                     [](const Point& a, const Point& b) { return a.place < b.place; });
    const auto isReplaced = [this](const Point& point) {
        const auto next = static_cast<size_t>(&point - mPoints.data()) + 1;
        return next < mPoints.size() && mPoints[next].place == point.place;
    };
    std::vector<Point> kept;
    std::copy_if(mPoints.begin(), mPoints.end(), std::back_inserter(kept),
                 [&](const Point& point) { return !isReplaced(point); });
    mPoints = std::move(kept);
    setSlopes();
}

/// Those of F. N. Fritsch and J. Butland, "A method for constructing local monotone piecewise cubic
/// interpolants" (1984), with weights for unequal distances; level at both ends and at each summit.
void FreeCurve::setSlopes()
{
    for (size_t i = 1; i + 1 < mPoints.size(); ++i) {
        const double before = mPoints[i].place - mPoints[i - 1].place;
        const double after = mPoints[i + 1].place - mPoints[i].place;
        const double rise = (mPoints[i].level - mPoints[i - 1].level) / before;
        const double nextRise = (mPoints[i + 1].level - mPoints[i].level) / after;
        if (rise * nextRise > 0.0)
            mPoints[i].slope =
                3.0 * (before + after) / ((2.0 * after + before) / rise + (after + 2.0 * before) / nextRise);
    }
}

double FreeCurve::decibelsAt(double frequency) const
{
    if (mPoints.empty())
        return 0.0;
    const double place = frequency > 0.0 ? std::log2(frequency) : mPoints.front().place;
    const auto next = std::find_if(mPoints.begin(), mPoints.end(),
                                   [place](const Point& point) { return point.place > place; });
    if (next == mPoints.begin())
        return mPoints.front().level;
    if (next == mPoints.end())
        return mPoints.back().level;
    // Hermite's cubic.
    const Point& from = *(next - 1);
    const double width = next->place - from.place;
    const double t = (place - from.place) / width;
    const double u = 1.0 - t;
    return u * u * ((1.0 + 2.0 * t) * from.level + t * width * from.slope) +
           t * t * ((1.0 + 2.0 * u) * next->level - u * width * next->slope);
}

bool FreeCurve::isFlat() const
{
    return std::all_of(mPoints.begin(), mPoints.end(), [](const Point& point) { return point.level == 0.0; });
}

} // namespace velloria
