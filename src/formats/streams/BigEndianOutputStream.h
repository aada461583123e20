#pragma once

#include "platform/FourCharCode.h"

#include <QByteArray>
#include <QDateTime>
#include <cstdint>

namespace velloria
{

/// Collects big-endian values, one after the other, in memory. One thread at a time.
class BigEndianOutputStream
{
public:
    BigEndianOutputStream();

    void writeUInt8(uint8_t value);
    void writeSInt16(int16_t value);
    void writeUInt16(uint16_t value);
    void writeSInt32(int32_t value);
    void writeUInt32(uint32_t value);
    void writeSInt64(int64_t value);
    void writeFloat32(float value);
    void writeFloat64(double value);

    /// Writes the local hour of the day and the minute of the hour, 32 bits each.
    void writeTime(const QDateTime& time);

    /// Writes a chunk as Core Audio Format files have it: type (32 bits), length (64 bits), bytes.
    void writeCafChunk(FourCharCode type, const QByteArray& data);
    void writeCafChunk(FourCharCode type, const void* bytes, int64_t length);

    void appendData(const QByteArray& data);
    void appendBytes(const void* bytes, int64_t length);

    /// Everything written so far.
    const QByteArray& data() const { return mData; }

private:
    template <typename Bits> void writeBits(Bits value);

    QByteArray mData;
};

} // namespace velloria
