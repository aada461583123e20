#include "document/clips/AudioData.h"

#include "platform/Log.h"

#include <cstring>
#include <gtest/gtest.h>

namespace velloria
{
namespace
{

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray result;
    for (const int value : values)
        result.append(static_cast<char>(value));
    return result;
}

QByteArray floatBytes(const std::vector<float>& floats)
{
    return QByteArray(reinterpret_cast<const char*>(floats.data()),
                      static_cast<qsizetype>(4 * floats.size()));
}

TEST(AudioData, ScalesIntegersOfEverySize)
{
    const struct {
        QByteArray data;
        int64_t bits;
        std::vector<float> floats;
    } cases[] = {
        {bytes({0x80, 0x7F, 0}), 8, {-1.0F, 0.9921875F, 0.0F}},
        {bytes({0x00, 0x80, 0xFF, 0x7F}), 16, {-1.0F, 32767 * 0x1p-15F}},
        {bytes({0x34, 0x12}), 12, {0x1234 * 0x1p-15F}},
        {bytes({0, 0, 0x80, 0xFF, 0xFF, 0x7F}), 24, {-1.0F, 8388607 * 0x1p-23F}},
        {bytes({1, 0, 0}), 20, {0x1p-23F}},
        {bytes({0, 0, 0, 0x80, 0xFF, 0xFF, 0xFF, 0x7F}), 32, {-1.0F, 1.0F}},
    };
    for (const auto& each : cases)
        EXPECT_EQ(AudioData(each.data, each.bits, 1, 44100).floatData(), each.floats) << each.bits;
}

TEST(AudioData, TakesOneChannelOfWholeFrames)
{
    const AudioData data(bytes({1, 2, 3, 4, 5, 6, 7}), 8, 3, 44100);
    EXPECT_EQ(data.frameSize(), 3);
    EXPECT_EQ(data.numFrames(), 2);
    EXPECT_EQ(data.floatDataFromChannel(1), (std::vector<float>{2 * 0x1p-7F, 5 * 0x1p-7F}));
    EXPECT_TRUE(AudioData(bytes({1, 2}), 8, 3, 44100).floatDataFromChannel(0).empty());
    EXPECT_TRUE(AudioData(QByteArray(), 16, 1, 44100).floatDataFromChannel(0).empty());
    EXPECT_TRUE(AudioData(bytes({1, 2}), 8, 0, 44100).floatDataFromChannel(0).empty());
    EXPECT_TRUE(AudioData(bytes({1, 2}), 0, 1, 44100).floatDataFromChannel(0).empty());
    // A channel that is none reads as silence beyond the buffer.
    EXPECT_EQ(data.floatDataFromChannel(5), (std::vector<float>{6 * 0x1p-7F, 0}));
}

TEST(AudioData, FloatDataAreAMonoRunAt44100)
{
    const AudioData data = AudioData::floatData(floatBytes({0.5F, -2.0F}));
    EXPECT_EQ(data.sampleSizeInBits(), 32);
    EXPECT_EQ(data.numChannels(), 1);
    EXPECT_EQ(data.sampleRate(), 44100.0);
    EXPECT_EQ(data.floatData(), (std::vector<float>{0.5F, -2.0F}));
    EXPECT_EQ(data.floatDataFromChannel(0), (std::vector<float>{0.5F, -2.0F}));
}

TEST(AudioData, BadArgumentsAreLogged)
{
    LogCapture log;
    const AudioData odd(QByteArray(25, '\1'), 40, 1, 44100);
    EXPECT_EQ(odd.floatData(), std::vector<float>(5));
    EXPECT_TRUE(odd.floatDataWithOffset(0, 0).empty());
    EXPECT_EQ(log.logged(),
              (QStringList{QStringLiteral("Unsupported sample size of 5 bytes"),
                           QStringLiteral("Parameter error in floatDataWithOffset:stride: stride is <= 0")}));
}

TEST(AudioData, IntegersFollowTheByteCount)
{
    const AudioData data = AudioData::floatData(floatBytes({1.0F, -3.0F}));
    EXPECT_EQ(data.intDataWithSize(32), bytes({0xFF, 0xFF, 0xFF, 0x7F, 1, 0, 0, 0x80}));
    EXPECT_EQ(data.intDataWithSize(25), data.intDataWithSize(32));
    EXPECT_EQ(data.intDataWithSize(20).first(3), bytes({0xFF, 0xFF, 0x7F}));
    EXPECT_EQ(data.intDataWithSize(12).first(2), bytes({0xFF, 0x7F}));
    EXPECT_EQ(data.intDataWithSize(1).first(1), bytes({0x7F}));
    EXPECT_EQ(data.intDataWithSize(40), QByteArray(10, '\0'));
    EXPECT_TRUE(data.intDataWithSize(0).isEmpty());
    EXPECT_TRUE(data.intDataWithSize(-100).isEmpty());
}

TEST(AudioData, IntegersSurviveARoundTripWhereTheyAreFloats)
{
    // A fraction of 0 never rounds up, so values that the float holds exactly come back: all 8- and 16-bit
    // ones below zero included, except that full scale is one step short of 1.
    QByteArray all;
    for (int value = -32768; value < 32768; ++value)
        all.append(bytes({value & 0xFF, (value >> 8) & 0xFF}));
    const auto floats = AudioData(all, 16, 1, 44100).floatData();
    const QByteArray back = AudioData::floatData(floatBytes(floats)).intDataWithSize(16);
    int worst = 0;
    for (qsizetype i = 0; i < all.size(); i += 2) {
        int16_t before = 0;
        int16_t after = 0;
        std::memcpy(&before, all.constData() + i, 2);
        std::memcpy(&after, back.constData() + i, 2);
        worst = std::max(worst, std::abs(before - after));
    }
    EXPECT_LE(worst, 1);
}

TEST(AudioData, ShortInputIsZeroFilled)
{
    const std::vector<std::byte> in(7, std::byte{1});
    std::vector<float> out(5, 9.0F);
    ASSERT_TRUE(SampleConversion::integersToFloats(in, 2, 1, 2, out));
    EXPECT_EQ(out, (std::vector<float>{257 * 0x1p-15F, 0, 0, 0, 0}));
    std::vector<float> left(3, 9.0F);
    std::vector<float> right(3, 9.0F);
    float* const channels[] = {left.data(), right.data()};
    ASSERT_TRUE(SampleConversion::deinterleaveToFloats(in, 2, channels, 3));
    EXPECT_EQ(left, (std::vector<float>{257 * 0x1p-15F, 0, 0}));
    EXPECT_FALSE(SampleConversion::integersToFloats(in, 5, 0, 1, out));
    EXPECT_FALSE(SampleConversion::floatsToIntegers(out, 0, nullptr));
}

} // namespace
} // namespace velloria
