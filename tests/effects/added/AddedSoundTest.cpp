#include "effects/EffectKit.h"
#include "effects/added/AddMoreCowbell.h"
#include "platform/Log.h"

#include <QFile>
#include <QTemporaryDir>
#include <cmath>

namespace velloria::kit
{

namespace
{

template <typename Integer> void appendBig(QByteArray& bytes, Integer value)
{
    for (size_t i = sizeof(Integer); i-- > 0;)
        bytes.append(static_cast<char>(static_cast<uint64_t>(value) >> (8 * i)));
}

int16_t bellAt(size_t frame)
{
    return static_cast<int16_t>(frame * 37 % 20000);
}

/// An AIFF file of 16 bits, mono, at 44100 Hz.
std::filesystem::path makeBell(const QTemporaryDir& folder, size_t numFrames)
{
    QByteArray bytes = "FORM";
    appendBig(bytes, static_cast<uint32_t>(46 + 2 * numFrames));
    bytes += "AIFFCOMM";
    appendBig<uint32_t>(bytes, 18);
    appendBig<uint16_t>(bytes, 1);
    appendBig(bytes, static_cast<uint32_t>(numFrames));
    appendBig<uint16_t>(bytes, 16);
    bytes += QByteArray::fromHex("400eac44000000000000");
    bytes += "SSND";
    appendBig(bytes, static_cast<uint32_t>(8 + 2 * numFrames));
    appendBig<uint64_t>(bytes, 0);
    for (size_t i = 0; i < numFrames; ++i)
        appendBig(bytes, static_cast<uint16_t>(bellAt(i)));
    QFile file(folder.filePath(QStringLiteral("bell.aiff")));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    return file.fileName().toStdString();
}

} // namespace

TEST(AddMoreCowbell, RepeatsItsFirstFramesOnEveryTrackInBlocksOfAnySize)
{
    const QTemporaryDir folder;
    const size_t numUsed = static_cast<size_t>(AddMoreCowbell::kMostFrames);
    for (const auto& [numInFile, period] :
         {std::pair<size_t, size_t>{25000, numUsed}, {1000, 1000}, {1, 1}}) {
        for (const uint64_t blockSize : {uint64_t{2048}, uint64_t{777}, uint64_t{50000}}) {
            AddMoreCowbell bell(QStringLiteral("Cowbell"), makeBell(folder, numInFile));
            bell.setParameterValue(0, -6.0);
            bell.setMaxBufferNumFrames(blockSize);
            const std::vector<FloatBuffer> tracks = {noise(45000, 1), noise(45000, 2),
                                                     FloatBuffer(45000, 0.0F)};
            const auto document = documentOf(tracks);
            ASSERT_FALSE(applyTo(document, bell, framesOf(*document, 100, 44000)));
            const double factor = std::pow(10.0, -0.3);
            for (size_t track = 0; track < tracks.size(); ++track) {
                const FloatBuffer out = samplesOf(*document, static_cast<int32_t>(track));
                EXPECT_EQ(out[99], tracks[track][99]);
                EXPECT_EQ(out[44000], tracks[track][44000]);
                for (size_t i = 0; i < 43900; ++i)
                    ASSERT_NEAR(out[100 + i],
                                static_cast<double>(tracks[track][100 + i]) +
                                    bellAt(i % period) / 32768.0 * factor,
                                1e-6)
                        << track << " " << i;
            }
        }
    }
}

TEST(AddMoreCowbell, HasASoundAndSaysWhenItIsMissing)
{
    const auto document = documentOf({FloatBuffer(30000, 0.0F)});
    ASSERT_FALSE(
        applyTo(document, *effectNamed(QStringLiteral("add more cowbell")), everythingOf(*document)));
    const FloatBuffer bell = samplesOf(*document, 0);
    float peak = 0.0F;
    for (const float sample : bell)
        peak = std::max(peak, std::abs(sample));
    EXPECT_NEAR(peak, 0.9, 0.01);
    EXPECT_EQ(bell[20672 + 500], bell[500]);

    AddMoreCowbell none(QStringLiteral("Cowbell"), "/nowhere/cowbell.aiff");
    const TrackList before = document->audioTracks();
    EXPECT_FALSE(applyTo(document, none, everythingOf(*document)));
    EXPECT_EQ(document->audioTracks(), before);
    ASSERT_TRUE(none.remark());
    EXPECT_TRUE(none.remark()->inEnglish().contains(QStringLiteral("cowbell is missing")));
    EXPECT_TRUE(none.remark()->inEnglish().contains(QStringLiteral("cowbell.aiff could not be opened")));
}

TEST(AddNoise, AddsAnotherNoiseToEachTrackAndTheSameToTheSameSound)
{
    const std::vector<FloatBuffer> tracks = {FloatBuffer(200000, 0.25F), FloatBuffer(200000, 0.0F)};
    std::vector<FloatBuffer> first;
    for (const uint64_t blockSize : {uint64_t{2048}, uint64_t{333}}) {
        const auto document = documentOf(tracks);
        const auto filter = effectNamed(QStringLiteral("add noise"));
        filter->setParameterValue(0, -20.0);
        filter->setMaxBufferNumFrames(blockSize);
        ASSERT_FALSE(applyTo(document, *filter, everythingOf(*document)));
        const std::vector<FloatBuffer> out = {samplesOf(*document, 0), samplesOf(*document, 1)};
        if (!first.empty()) {
            EXPECT_EQ(out, first) << "a batch gives the same bytes each time";
            // Once more: the two noises are independent, so their power doubles.
            ASSERT_FALSE(applyTo(document, *filter, everythingOf(*document)));
            double power = 0;
            for (const float sample : samplesOf(*document, 1))
                power += static_cast<double>(sample) * static_cast<double>(sample);
            EXPECT_NEAR(power / 200000 * 100, 2.0 / 6.0, 0.01);
        }
        first = out;
    }
    double powers[] = {0, 0};
    double product = 0;
    for (size_t i = 0; i < first[0].size(); ++i) {
        const double left = static_cast<double>(first[0][i]) - 0.25;
        const double right = static_cast<double>(first[1][i]);
        ASSERT_LE(std::abs(left), 0.1001);
        powers[0] += left * left;
        powers[1] += right * right;
        product += left * right;
    }
    // Of two uniform values a sixth, times the square of the factor 0.1.
    for (const double power : powers)
        EXPECT_NEAR(power / 200000 * 100, 1.0 / 6.0, 0.005);
    EXPECT_LT(std::abs(product) / std::sqrt(powers[0] * powers[1]), 0.02);
}

} // namespace velloria::kit
