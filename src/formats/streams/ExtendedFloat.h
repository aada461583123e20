#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace velloria
{

/// Numbers in the 80-bit extended format of IEEE 754, big-endian, as AIFF files hold their sample rate: sign,
/// 15 bits of exponent with a bias of 16383, and 64 bits of significand with its integer bit.
constexpr qsizetype extendedFloatLength = 10;

/// The ten bytes of a finite number.
QByteArray extendedFloatBytes(double value);

/// The nearest double of ten bytes, whatever they are: infinity where it is too large, 0 where it is too
/// small, NaN.
double doubleFromExtendedFloat(QByteArrayView bytes);

} // namespace velloria
