#pragma once

#include <QByteArray>
#include <QDateTime>
#include <cstdint>
#include <span>

namespace velloria
{

/// Reads big-endian values one after the other from bytes in memory. Reading never fails: past the end a
/// value is made of the bytes that were there followed by zeros, and the position stays at the end.
/// One thread at a time.
class BigEndianInputStream
{
public:
    explicit BigEndianInputStream(QByteArray data);

    /// Copies as many bytes as remain, at most out.size(), and gives their number.
    int64_t read(std::span<std::byte> out);

    uint8_t readUInt8();
    int16_t readSInt16();
    int32_t readSInt32();
    int64_t readSInt64();
    float readFloat32();
    double readFloat64();

    /// Reads an hour and a minute (32 bits each) and gives the next moment at that time of day.
    QDateTime readTime();

    int64_t mark() const { return mMark; }
    int64_t remaining() const { return mData.size() - mMark; }

private:
    template <typename Bits> Bits readBits();

    QByteArray mData;
    int64_t mMark = 0;
};

} // namespace velloria
