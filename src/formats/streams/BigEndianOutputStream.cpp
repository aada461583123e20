#include "formats/streams/BigEndianOutputStream.h"

#include <QtEndian>
#include <bit>

namespace velloria
{

BigEndianOutputStream::BigEndianOutputStream()
{
    constexpr qsizetype initialCapacityBytes = 2048;
    mData.reserve(initialCapacityBytes);
}

template <typename Bits> void BigEndianOutputStream::writeBits(Bits value)
{
    const Bits bigEndian = qToBigEndian(value);
    appendBytes(&bigEndian, sizeof(bigEndian));
}

void BigEndianOutputStream::writeUInt8(uint8_t value)
{
    writeBits(value);
}

void BigEndianOutputStream::writeSInt16(int16_t value)
{
    writeBits(value);
}

void BigEndianOutputStream::writeUInt16(uint16_t value)
{
    writeBits(value);
}

void BigEndianOutputStream::writeSInt32(int32_t value)
{
    writeBits(value);
}

void BigEndianOutputStream::writeUInt32(uint32_t value)
{
    writeBits(value);
}

void BigEndianOutputStream::writeSInt64(int64_t value)
{
    writeBits(static_cast<quint64>(value));
}

void BigEndianOutputStream::writeFloat32(float value)
{
    writeBits(std::bit_cast<uint32_t>(value));
}

void BigEndianOutputStream::writeFloat64(double value)
{
    writeBits(std::bit_cast<quint64>(value));
}

void BigEndianOutputStream::writeTime(const QDateTime& time)
{
    const QTime clock = time.toLocalTime().time();
    writeSInt32(clock.hour());
    writeSInt32(clock.minute());
}

void BigEndianOutputStream::writeCafChunk(FourCharCode type, const QByteArray& data)
{
    writeCafChunk(type, data.constData(), data.size());
}

void BigEndianOutputStream::writeCafChunk(FourCharCode type, const void* bytes, int64_t length)
{
    writeUInt32(type);
    writeSInt64(length);
    appendBytes(bytes, length);
}

void BigEndianOutputStream::appendData(const QByteArray& data)
{
    mData.append(data);
}

void BigEndianOutputStream::appendBytes(const void* bytes, int64_t length)
{
    mData.append(static_cast<const char*>(bytes), length);
}

} // namespace velloria
