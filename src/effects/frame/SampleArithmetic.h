#pragma once

#include <span>

namespace velloria
{

/// Single passes over runs of samples that several effects share, in loops that the compiler vectorises.
namespace SampleArithmetic
{

void scale(std::span<float> samples, float factor);

/// The largest magnitude; samples that are no finite numbers are left out. 0 for an empty run.
float peak(std::span<const float> samples);

/// In double precision; samples that are no finite numbers are left out.
double sumOfSquares(std::span<const float> samples);

} // namespace SampleArithmetic

} // namespace velloria
