#include "formats/streams/BigEndianInputStream.h"

#include "formats/streams/DateWithNextHour.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace velloria
{

BigEndianInputStream::BigEndianInputStream(QByteArray data)
    : mData(std::move(data))
{
}

int64_t BigEndianInputStream::read(std::span<std::byte> out)
{
    const int64_t numBytes = std::min(static_cast<int64_t>(out.size()), remaining());
    if (numBytes > 0)
        std::memcpy(out.data(), mData.constData() + mMark, static_cast<size_t>(numBytes));
    mMark += numBytes;
    return numBytes;
}

template <typename Bits> Bits BigEndianInputStream::readBits()
{
    std::array<std::byte, sizeof(Bits)> bytes{};
    read(bytes);
    return qFromBigEndian<Bits>(bytes.data());
}

uint8_t BigEndianInputStream::readUInt8()
{
    return readBits<uint8_t>();
}

int16_t BigEndianInputStream::readSInt16()
{
    return readBits<int16_t>();
}

int32_t BigEndianInputStream::readSInt32()
{
    return readBits<int32_t>();
}

int64_t BigEndianInputStream::readSInt64()
{
    return static_cast<int64_t>(readBits<quint64>());
}

float BigEndianInputStream::readFloat32()
{
    return std::bit_cast<float>(readBits<uint32_t>());
}

double BigEndianInputStream::readFloat64()
{
    return std::bit_cast<double>(readBits<quint64>());
}

QDateTime BigEndianInputStream::readTime()
{
    const int hour = readSInt32();
    const int minute = readSInt32();
    return dateWithNextHour(hour, minute);
}

} // namespace velloria
