#include "formats/streams/BigEndianInputStream.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "formats/streams/DateWithNextHour.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>

namespace velloria
{
namespace
{

TEST(BigEndianOutputStream, WritesTheMostSignificantByteFirst)
{
    BigEndianOutputStream stream;
    stream.writeUInt8(0xAB);
    stream.writeSInt16(-2);
    stream.writeUInt16(0xC0DE);
    stream.writeSInt32(fourCharCode("lpcm"));
    stream.writeUInt32(0xFEDCBA98);
    stream.writeSInt64(0x0102030405060708);
    stream.writeFloat32(1.0F);
    stream.writeFloat64(1.0);
    EXPECT_EQ(stream.data().toHex(' ').toUpper(),
              "AB FF FE C0 DE 6C 70 63 6D FE DC BA 98 01 02 03 04 05 06 07 08 "
              "3F 80 00 00 3F F0 00 00 00 00 00 00");
}

TEST(BigEndianOutputStream, PutsTypeAndLengthBeforeACafChunk)
{
    BigEndianOutputStream stream;
    stream.writeCafChunk(fourCharCode("free"), "abc", 2);
    stream.writeCafChunk(fourCharCode("info"), QByteArray());
    EXPECT_EQ(stream.data(), QByteArray::fromHex("66726565 0000000000000002 6162 696e666f 0000000000000000"));
}

TEST(BigEndianInputStream, ReadsBackWhatWasWritten)
{
    BigEndianOutputStream out;
    out.writeUInt8(255);
    out.writeSInt16(std::numeric_limits<int16_t>::min());
    out.writeSInt32(-123456789);
    out.writeSInt64(std::numeric_limits<int64_t>::min() + 1);
    out.writeFloat32(-0.1F);
    out.writeFloat64(std::numeric_limits<double>::infinity());
    out.appendData("tail");

    BigEndianInputStream in(out.data());
    EXPECT_EQ(in.readUInt8(), 255);
    EXPECT_EQ(in.readSInt16(), std::numeric_limits<int16_t>::min());
    EXPECT_EQ(in.readSInt32(), -123456789);
    EXPECT_EQ(in.readSInt64(), std::numeric_limits<int64_t>::min() + 1);
    EXPECT_EQ(in.readFloat32(), -0.1F);
    EXPECT_EQ(in.readFloat64(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(in.remaining(), 4);
}

TEST(BigEndianInputStream, FillsUpWithZerosPastTheEnd)
{
    BigEndianInputStream cut(QByteArray::fromHex("0000 1234"));
    cut.readSInt16();
    EXPECT_EQ(cut.readSInt32(), 0x12340000);
    EXPECT_EQ(cut.mark(), 4);
    EXPECT_EQ(cut.readFloat64(), 0.0);
    EXPECT_EQ(cut.mark(), 4);

    BigEndianInputStream whole("abc");
    std::array<std::byte, 8> buffer{};
    EXPECT_EQ(whole.read(std::span(buffer).first(2)), 2);
    EXPECT_EQ(whole.read(buffer), 1);
    EXPECT_EQ(buffer[0], std::byte{'c'});
    EXPECT_EQ(whole.read(buffer), 0);
}

TEST(DateWithNextHour, IsTodayUntilNinetySecondsAfterwards)
{
    const QDate today(2024, 2, 28);
    const struct {
        QTime now;
        int hour, minute;
        QDateTime expected;
    } cases[] = {
        {QTime(10, 0), 10, 30, QDateTime(today, QTime(10, 30))},
        {QTime(10, 0), 9, 59, QDateTime(today, QTime(9, 59))},
        {QTime(10, 0, 30), 9, 59, QDateTime(today, QTime(9, 59))},
        {QTime(10, 0, 31), 9, 59, QDateTime(today.addDays(1), QTime(9, 59))},
        {QTime(23, 59, 59), 0, 0, QDateTime(today.addDays(1), QTime(0, 0))},
        {QTime(10, 0), 99, -5, QDateTime(today, QTime(23, 0))},
    };
    for (const auto& c : cases)
        EXPECT_EQ(dateWithNextHour(c.hour, c.minute, QDateTime(today, c.now)), c.expected)
            << c.now.toString().toStdString();
}

TEST(BigEndianStreams, KeepTheTimeOfDay)
{
    const QDateTime later = QDateTime::currentDateTime().addSecs(3600);
    BigEndianOutputStream out;
    out.writeTime(later);
    EXPECT_EQ(out.data().size(), 8);
    const QDateTime read = BigEndianInputStream(out.data()).readTime();
    EXPECT_EQ(read.time(), QTime(later.time().hour(), later.time().minute()));
    EXPECT_LE(std::abs(read.secsTo(later)), 60);
}

} // namespace
} // namespace velloria
