#pragma once

#include <cmath>
#include <limits>

namespace velloria
{

/// In dB of full scale; minus infinity for 0.
inline double decibelsOfLevel(double level)
{
    return level > 0.0 ? 20.0 * std::log10(level) : -std::numeric_limits<double>::infinity();
}

} // namespace velloria
