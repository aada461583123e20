#pragma once

#include <cmath>
#include <cstdint>

namespace velloria
{

/// Frame numbers made from floating-point positions stay within this of 0, so that sums and differences of
/// two of them are frame numbers as well.
inline constexpr int64_t kMaxFrameNumber = int64_t{1} << 61;

/// The nearest frame number, halves away from zero; 0 for NaN.
inline int64_t roundedFrame(double position)
{
    constexpr auto limit = static_cast<double>(kMaxFrameNumber);
    if (!(position >= -limit))
        return position < 0 ? -kMaxFrameNumber : 0;
    return position <= limit ? static_cast<int64_t>(std::round(position)) : kMaxFrameNumber;
}

} // namespace velloria
