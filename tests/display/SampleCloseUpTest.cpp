#include "display/SampleCloseUp.h"

#include "formats/kit/FileTestKit.h"

#include <QCoreApplication>
#include <cmath>
#include <random>

namespace velloria
{

namespace
{

AudioTrackPtr trackOf(const FloatBuffer& samples)
{
    return std::make_shared<AudioTrack>(ClipList(test::floatClip(samples)));
}

double quantised(float sample)
{
    return static_cast<float>(std::round(sample * 32767.0) / 32767.0);
}

/// The same columns sample by sample.
FloatBuffer expectedColumns(const FloatBuffer& samples, double offset, double numFrames, double stride)
{
    FloatBuffer pairs;
    const auto length = static_cast<int64_t>(samples.size());
    for (int64_t column = 0; column < std::ceil(numFrames / stride); ++column) {
        const double position = offset + static_cast<double>(column) * stride;
        const int64_t first = std::llround(position);
        const int64_t end = std::max<int64_t>(first + 1, std::llround(position + stride));
        double min = first < 0 ? 1.0 : 0.0;
        double max = first < 0 ? -1.0 : 0.0;
        if (first >= 0 && first < length) {
            min = 100.0;
            max = -100.0;
            for (int64_t frame = first; frame < std::min(end, length); ++frame) {
                min = std::min(min, quantised(samples[static_cast<size_t>(frame)]));
                max = std::max(max, quantised(samples[static_cast<size_t>(frame)]));
            }
        }
        pairs.push_back(static_cast<float>(min));
        pairs.push_back(static_cast<float>(max));
    }
    return pairs;
}

struct Reads {
    int count = 0;
    SampleCloseUp::Handler handler()
    {
        return [this](int64_t, int64_t) { ++count; };
    }
    void waitFor(int wanted) const
    {
        while (count < wanted)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
};

} // namespace

TEST(SampleCloseUpTest, ShowsEveryColumnOfARange)
{
    const FloatBuffer samples = test::noise(50'000, 1);
    const AudioTrackPtr track = trackOf(samples);
    std::mt19937 generator(5);
    std::uniform_real_distribution<double> offsets(-3000.0, 52'000.0);
    std::uniform_real_distribution<double> strides(0.3, 511.0);
    for (int i = 0; i < 200; ++i) {
        const double offset = offsets(generator);
        const double stride = strides(generator);
        const double numFrames = stride * 40.0;
        EXPECT_EQ(SampleCloseUp::minMaxDataOfTrack(*track, offset, numFrames, stride),
                  expectedColumns(samples, offset, numFrames, stride))
            << "offset " << offset << " stride " << stride;
    }
}

TEST(SampleCloseUpTest, AnswersNothingForRangesThatAreNone)
{
    const AudioTrackPtr track = trackOf(test::noise(100, 1));
    for (const auto& [numFrames, stride] :
         {std::pair(0.0, 1.0), {-5.0, 1.0}, {10.0, 0.0}, {10.0, NAN}, {NAN, 1.0}})
        EXPECT_TRUE(SampleCloseUp::minMaxDataOfTrack(*track, 0.0, numFrames, stride).empty());
}

TEST(SampleCloseUpTest, ReadsInTheBackgroundAndKeepsWhatItRead)
{
    const FloatBuffer samples = test::noise(100'000, 2);
    const AudioTrackPtr track = trackOf(samples);
    Reads reads;
    SampleCloseUp closeUp(reads.handler());
    EXPECT_FALSE(closeUp.minMaxDataAtOffset(track, 40'000.0, 8000.0, 10.0));
    EXPECT_FALSE(closeUp.minMaxDataAtOffset(track, 40'000.0, 8000.0, 10.0)) << "it is under way";
    reads.waitFor(1);
    EXPECT_EQ(closeUp.minMaxDataAtOffset(track, 40'000.0, 8000.0, 10.0),
              expectedColumns(samples, 40'000, 8000, 10));

    // Scrolling by a third of what is shown, both ways, and closer views of it.
    EXPECT_EQ(closeUp.minMaxDataAtOffset(track, 42'500.0, 8000.0, 10.0),
              expectedColumns(samples, 42'500, 8000, 10));
    EXPECT_EQ(closeUp.minMaxDataAtOffset(track, 37'500.0, 8000.0, 10.0),
              expectedColumns(samples, 37'500, 8000, 10));
    EXPECT_TRUE(closeUp.minMaxDataAtOffset(track, 41'000.0, 500.0, 1.0));
    EXPECT_EQ(reads.count, 1);

    EXPECT_FALSE(closeUp.minMaxDataAtOffset(track, 60'000.0, 8000.0, 10.0));
    reads.waitFor(2);
    EXPECT_TRUE(closeUp.minMaxDataAtOffset(track, 60'000.0, 8000.0, 10.0));
}

TEST(SampleCloseUpTest, ReadsAnEditedTrackAnew)
{
    Reads reads;
    SampleCloseUp closeUp(reads.handler());
    const AudioTrackPtr track = trackOf(test::noise(5000, 3));
    closeUp.minMaxDataAtOffset(track, 0.0, 5000.0, 5.0);
    reads.waitFor(1);
    const AudioTrackPtr edited = AudioTrack::trackWithTrack(*track);
    edited->removeDataAtOffset(100, 1000);
    EXPECT_FALSE(closeUp.minMaxDataAtOffset(edited, 0.0, 5000.0, 5.0));
    reads.waitFor(2);
    EXPECT_EQ(closeUp.minMaxDataAtOffset(edited, 0.0, 5000.0, 5.0),
              expectedColumns(edited->sampleDataAtOffset(0, 4000), 0.0, 5000.0, 5.0));
}

TEST(SampleCloseUpTest, GoesOnToWhatIsWantedByThen)
{
    const FloatBuffer samples = test::noise(2'000'000, 4);
    const AudioTrackPtr track = trackOf(samples);
    Reads reads;
    SampleCloseUp closeUp(reads.handler());
    for (double offset = 0.0; offset < 1'900'000.0; offset += 100'000.0)
        closeUp.minMaxDataAtOffset(track, offset, 50'000.0, 100.0);
    reads.waitFor(1);
    EXPECT_EQ(closeUp.minMaxDataAtOffset(track, 1'800'000.0, 50'000.0, 100.0),
              expectedColumns(samples, 1'800'000, 50'000, 100));
    EXPECT_EQ(reads.count, 1);
}

TEST(SampleCloseUpTest, CanGoWhileItReads)
{
    Reads reads;
    {
        SampleCloseUp closeUp(reads.handler());
        closeUp.minMaxDataAtOffset(trackOf(test::noise(1'000'000, 5)), 0.0, 1'000'000.0, 500.0);
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(reads.count, 0);
}

} // namespace velloria
