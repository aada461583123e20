#include "effects/fades/Envelope.h"

#include <algorithm>

namespace velloria
{

Envelope::Envelope(std::span<const double> numbers)
{
    for (size_t i = 0; i + 1 < numbers.size(); i += 2)
        mPoints.push_back({numbers[i], numbers[i + 1]});
}

/// On the line that ends in a point.
double Envelope::levelBefore(size_t index, double position) const
{
    const Point& from = mPoints[index - 1];
    const Point& to = mPoints[index];
    const double fraction = from.x == to.x ? 0.0 : (position - from.x) / (to.x - from.x);
    return from.y + (to.y - from.y) * fraction;
}

void Envelope::getLevels(float mark, float numFrames, std::span<double> levels) const
{
    if (mPoints.size() < 2) {
        std::fill(levels.begin(), levels.end(), 0.0);
        return;
    }
    // Positions rise, so the first point behind one is never before that of an earlier one.
    size_t index = 1;
    for (size_t i = 0; i < levels.size(); ++i) {
        const float frame = static_cast<float>(i) + mark;
        double position = static_cast<double>(frame / numFrames);
        if (position > static_cast<double>(numFrames))
            position -= static_cast<double>(numFrames);
        if (position <= mPoints.front().x) {
            levels[i] = mPoints.front().y;
            continue;
        }
        while (index < mPoints.size() && mPoints[index].x <= position)
            ++index;
        levels[i] = index < mPoints.size() ? levelBefore(index, position) : mPoints.back().y;
    }
}

} // namespace velloria
