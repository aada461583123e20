#include "cli/CliKit.h"

#include <QImage>
#include <cmath>

namespace velloria
{

namespace
{

class WaveformTest : public test::CliTest
{
protected:
    QJsonObject waveform(const std::vector<std::string>& options) const
    {
        std::vector<std::string> words = {"waveform", "in.wav"};
        words.insert(words.end(), options.begin(), options.end());
        const test::Outcome outcome = cli(words);
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        return QJsonDocument::fromJson(outcome.output).object();
    }
};

} // namespace

TEST_F(WaveformTest, TellsColumnsThatHoldEverySample)
{
    makeNoise("in.wav", 200'000);
    const std::vector<float> samples = decoded("in.wav");
    struct Case {
        int width;
        double slack; ///< frames of neighbouring columns that a column may touch
    };
    for (const auto& [width, slack] : {Case{100, 512.0}, {390, 512.0}, {1000, 0.5}}) {
        const QJsonObject told = waveform({"--width", std::to_string(width)});
        EXPECT_EQ(told[QStringLiteral("frames")], 200'000);
        EXPECT_EQ(told[QStringLiteral("channels")], 2);
        EXPECT_EQ(told[QStringLiteral("sampleRate")], 44100);
        EXPECT_EQ(told[QStringLiteral("start")], 0);
        EXPECT_NEAR(told[QStringLiteral("end")].toDouble(), 200'000 / 44'100.0, 1e-9);
        const double stride = 200'000.0 / width;
        for (int channel = 0; channel < 2; ++channel) {
            const QJsonArray columns = told[QStringLiteral("columns")][channel].toArray();
            ASSERT_EQ(columns.size(), width);
            for (int column = 0; column < width; ++column) {
                const auto range = [&](double grown) {
                    float low = 2.0F;
                    float high = -2.0F;
                    const auto first = std::max<long>(0, std::lround(column * stride - grown));
                    const auto end = std::min<long>(200'000, std::lround((column + 1) * stride + grown));
                    for (long frame = first; frame < end; ++frame) {
                        low = std::min(low, samples[static_cast<size_t>(2 * frame + channel)]);
                        high = std::max(high, samples[static_cast<size_t>(2 * frame + channel)]);
                    }
                    return std::pair(low, high);
                };
                const double min = columns[column][0].toDouble();
                const double max = columns[column][1].toDouble();
                const auto inner = range(0.0);
                const auto outer = range(slack);
                constexpr double rounding = 1.0 / 32000.0;
                ASSERT_LE(min, inner.first + rounding) << column;
                ASSERT_GE(max, inner.second - rounding) << column;
                ASSERT_GE(min, outer.first - rounding) << column;
                ASSERT_LE(max, outer.second + rounding) << column;
            }
        }
    }
}

TEST_F(WaveformTest, TellsSingleSamplesOfAShortRange)
{
    makeNoise("in.wav", 44'100, 1);
    const std::vector<float> samples = decoded("in.wav");
    const QJsonObject told = waveform({"--start", "0.5", "--end", "0.502", "--width", "500"});
    const QJsonArray columns = told[QStringLiteral("columns")][0].toArray();
    ASSERT_EQ(columns.size(), 88);
    for (int i = 0; i < 88; ++i) {
        EXPECT_EQ(columns[i][0], columns[i][1]);
        EXPECT_NEAR(columns[i][0].toDouble(), samples[static_cast<size_t>(22'050 + i)], 1.0 / 32000.0);
    }
    expectFailure({"waveform", "in.wav", "--start", "1"}, 1, "no sound in that range");
}

TEST_F(WaveformTest, DrawsALaneForEachChannel)
{
    // Silence on the left; on the right half a second of silence, then a square wave at half scale.
    QByteArray samples;
    for (int frame = 0; frame < 44'100; ++frame) {
        const int right = frame < 22'050 ? 0 : frame / 50 % 2 == 0 ? 16'384 : -16'384;
        samples += test::littleEndian16(0) + test::littleEndian16(right);
    }
    makeFile("in.wav", test::wave({1, 2, 44100, 16}, samples));
    ASSERT_EQ(cli({"waveform", "in.wav", "-o", "out.PNG", "--width", "300", "--height", "200"}).status, 0);
    const QImage image(argument("out.PNG"));
    ASSERT_EQ(image.size(), QSize(300, 200));
    const QRgb background = image.pixel(10, 10);
    const auto numDrawn = [&](int x, int top, int bottom) {
        int count = 0;
        for (int y = top; y < bottom; ++y)
            count += image.pixel(x, y) != background ? 1 : 0;
        return count;
    };
    EXPECT_LE(numDrawn(250, 5, 95), 2) << "the silent lane shows a thin line";
    EXPECT_LE(numDrawn(50, 105, 195), 2);
    EXPECT_NEAR(numDrawn(250, 105, 195), 48, 3) << "half of full scale is half of the lane";

    makeFile("in.wav", test::wave({1, 2, 44100, 16}, {}));
    EXPECT_EQ(cli({"waveform", "in.wav", "-o", "empty.png"}).status, 0);
    EXPECT_FALSE(QImage(argument("empty.png")).isNull());
    makeNoise("in.wav", 10, 40);
    EXPECT_EQ(cli({"waveform", "in.wav", "-o", "flat.png", "--height", "3"}).status, 0);
}

} // namespace velloria
