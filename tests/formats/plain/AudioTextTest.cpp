#include "formats/plain/AudioText.h"

#include "formats/kit/SavingTestKit.h"

#include <bit>
#include <cmath>

namespace velloria
{
namespace
{

using namespace test;

class AudioTextTest : public SavingTest
{
protected:
    QByteArray textOf(const std::vector<FloatBuffer>& tracks) const
    {
        std::vector<ClipList> clips;
        for (const FloatBuffer& samples : tracks)
            clips.emplace_back(floatClip(samples));
        AudioText file(44100.0, 16, static_cast<uint32_t>(tracks.size()));
        save(file, "out.txt", TrackDocument(clips));
        return bytesOf("out.txt");
    }
};

QByteArray printed(float sample)
{
    char text[80];
    return QByteArray(text, std::snprintf(text, sizeof text, "%-1.9f", static_cast<double>(sample)));
}

TEST_F(AudioTextTest, WritesALineAFrameWithTabsBetweenChannels)
{
    EXPECT_EQ(textOf({{0.0F, 0.5F, -1.0F}, {1.0F, -0.25F, 0x1p-9F}}),
              "0.000000000\t1.000000000\n0.500000000\t-0.250000000\n-1.000000000\t0.001953125\n");
    EXPECT_EQ(textOf({{0.1F, -0.0F}}), "0.100000001\n-0.000000000\n");
    EXPECT_EQ(textOf({{1.0F}, {2.5F}, {-12345.75F}}), "1.000000000\t2.500000000\t-12345.750000000\n");
}

TEST_F(AudioTextTest, RoundsAsPrintingDoes)
{
    FloatBuffer samples = {std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min(),
                           -std::numeric_limits<float>::denorm_min(), std::numeric_limits<float>::infinity(),
                           -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(),
                           std::nextafter(4.0F, 0.0F), 4.0F,
                           // Halves between two texts: 2^-10 and its odd multiples have a tenth decimal of 5.
                           0x1p-10F, 3 * 0x1p-10F, 5 * 0x1p-10F, 0x1p-31F, 0x1p-30F};
    // Any bits at all, spread over the sizes that samples have.
    std::mt19937 generator(1);
    for (int i = 0; i < 200000; ++i) {
        const uint32_t exponent = 90 + static_cast<uint32_t>(i) % 42;
        samples.push_back(
            std::bit_cast<float>((static_cast<uint32_t>(generator()) & 0x807FFFFFU) | exponent << 23));
    }
    QByteArray expected;
    for (const float sample : samples)
        expected += printed(sample) + '\n';
    EXPECT_TRUE(textOf({samples}) == expected);
}

TEST_F(AudioTextTest, OffersNoOptions)
{
    AudioText file(44100.0, 16, 2);
    file.setNumberOfFrames(1000);
    EXPECT_EQ(file.fileOptions().label, "Options:");
    ASSERT_EQ(file.fileOptions().items.size(), 1U);
    EXPECT_EQ(file.fileOptions().items[0].title, "-");
    EXPECT_FALSE(file.fileOptions().items[0].isEnabled);
    for (const int tag : {0, 16, 128000, -5})
        EXPECT_EQ(file.estimatedFileSizeWithTag(tag), 26000.0);
    EXPECT_FALSE(file.canSaveMarkers() || file.canSaveMetadata() || file.canSaveArtwork());
}

TEST_F(AudioTextTest, IsWrittenOnly)
{
    makeFile("in.txt", "0.5\t0.5\n");
    MaybeError error;
    EXPECT_FALSE(AudioFileRegistry::audioFileWithPath(path("in.txt"), &error));
    EXPECT_EQ(error->message, "“in.txt” is not a sound file that Velloria can read.");
}

} // namespace
} // namespace velloria
