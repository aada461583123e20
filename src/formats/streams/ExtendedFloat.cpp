#include "formats/streams/ExtendedFloat.h"

#include <QtEndian>
#include <cmath>
#include <limits>

namespace velloria
{

namespace
{

constexpr int bias = 16383;
constexpr int significandBits = 64;
constexpr quint16 signBit = 0x8000;
constexpr quint16 largestExponent = 0x7FFF;
constexpr quint64 integerBit = quint64{1} << (significandBits - 1);

} // namespace

QByteArray extendedFloatBytes(double value)
{
    QByteArray bytes(extendedFloatLength, '\0');
    if (value == 0.0 || !std::isfinite(value))
        return bytes;
    int exponent = 0;
    // A fraction of 1/2 or more: its highest bit is the integer bit.
    const double fraction = std::frexp(std::abs(value), &exponent);
    const quint16 sign = value < 0.0 ? signBit : 0;
    qToBigEndian<quint16>(static_cast<quint16>(sign | (exponent - 1 + bias)), bytes.data());
    qToBigEndian<quint64>(static_cast<quint64>(std::ldexp(fraction, significandBits)), bytes.data() + 2);
    return bytes;
}

double doubleFromExtendedFloat(QByteArrayView bytes)
{
    const auto signAndExponent = qFromBigEndian<quint16>(bytes.data());
    const auto significand = qFromBigEndian<quint64>(bytes.data() + 2);
    const int exponent = signAndExponent & largestExponent;
    double value = 0.0;
    if (exponent < largestExponent)
        value = std::ldexp(static_cast<double>(significand), exponent - bias - (significandBits - 1));
    else if ((significand & ~integerBit) == 0)
        value = std::numeric_limits<double>::infinity();
    else
        value = std::numeric_limits<double>::quiet_NaN();
    return (signAndExponent & signBit) != 0 ? -value : value;
}

} // namespace velloria
