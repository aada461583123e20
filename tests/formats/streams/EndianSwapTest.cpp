#include "formats/streams/EndianSwap.h"

#include "formats/kit/SavingTestKit.h"

namespace velloria
{
namespace
{

using namespace test;

QByteArray swapped(QByteArray samples, int64_t bits)
{
    endianSwapData(std::as_writable_bytes(std::span(samples.data(), static_cast<size_t>(samples.size()))),
                   bits);
    return samples;
}

TEST(EndianSwapTest, TurnsWholeSamplesAround)
{
    const struct {
        int64_t bits;
        int size;
    } cases[] = {{9, 2}, {16, 2}, {17, 3}, {24, 3}, {25, 4}, {32, 4}};
    // Counts around what is done at a time, with bytes that belong to no sample behind them.
    for (const auto& c : cases) {
        for (int count = 0; count < 70; ++count) {
            const QByteArray samples = noiseBytes(count * c.size + c.size - 1, 5);
            const QByteArray whole = samples.left(qsizetype{count} * c.size);
            EXPECT_EQ(swapped(samples, c.bits), reversedSamples(whole, c.size) + samples.mid(whole.size()))
                << c.bits << " bits, " << count << " samples";
        }
    }
}

TEST(EndianSwapTest, TurnsDoublesOneAfterTheOtherInAnOperationOfTheirOwn)
{
    for (int count = 0; count < 40; ++count) {
        QByteArray samples = noiseBytes(qsizetype{count} * 8 + 7, 6);
        const QByteArray whole = samples.left(qsizetype{count} * 8);
        const QByteArray expected = reversedSamples(whole, 8) + samples.mid(whole.size());
        endianSwapDoubles(
            std::as_writable_bytes(std::span(samples.data(), static_cast<size_t>(samples.size()))));
        EXPECT_EQ(samples, expected) << count;
    }
}

TEST(EndianSwapTest, GoesOnByFourBytesWith64BitsAsItAlwaysDid)
{
    EXPECT_EQ(swapped("1234567", 64), "1234567");
    EXPECT_EQ(swapped("12345678", 64), "87654321");
    EXPECT_EQ(swapped("12345678abc", 64), "87654321abc");
    // The four bytes in the middle are turned twice: 8765|4321abcd, then dcba1234.
    EXPECT_EQ(swapped("12345678abcd", 64), "8765dcba1234");
    EXPECT_EQ(swapped("12345678abcdefgh", 64), "8765dcbahgfe4321");
}

TEST(EndianSwapTest, LeavesSmallSamplesAndClearsWhatIsNoSample)
{
    for (const int64_t bits : {0, 1, 8})
        EXPECT_EQ(swapped("abcde", bits), "abcde");
    for (const int64_t bits : {33, 48, 63, 65, 1000})
        EXPECT_EQ(swapped("abcde", bits), QByteArray(5, '\0'));
}

} // namespace
} // namespace velloria
