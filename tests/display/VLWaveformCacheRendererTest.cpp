#include "display/VLWaveformCacheRenderer.h"

#include "formats/kit/FileTestKit.h"

#include <QCoreApplication>
#include <cmath>
#include <thread>

namespace velloria
{

namespace
{

class UpdateRecorder : public VLWaveformCacheRendererDelegate
{
public:
    void rendererDidUpdate(VLWaveformCacheRenderer&, int64_t offset, int64_t length) override
    {
        updates.push_back({offset, length});
    }
    std::vector<std::pair<int64_t, int64_t>> updates;
};

void waitForEnd(const VLWaveformCacheRenderer& renderer)
{
    while (renderer.isRunning())
        std::this_thread::yield();
}

/// Floats as the formats store them that are read in place.
class FloatFile : public AudioFile
{
public:
    FloatFile(uint32_t bits, uint32_t numChannels, int64_t numFrames)
    {
        mBitsPerSample = bits;
        mNumberOfChannels = numChannels;
        mNumberOfFrames = numFrames;
        mIsFloat = true;
        for (const float sample : test::noise(static_cast<size_t>(numFrames * numChannels), 3)) {
            // Louder than full scale, up to the middle.
            const double wide = (mBytes.size() < numFrames * frameSize() / 2 ? 1.2 : 1.0) * sample;
            const auto narrow = static_cast<float>(wide);
            mBytes += bits == 64 ? QByteArray(reinterpret_cast<const char*>(&wide), 8)
                                 : QByteArray(reinterpret_cast<const char*>(&narrow), 4);
        }
    }

    QString fileFormatUTI() const override { return QString(); }
    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override
    {
        const int64_t count = std::min<int64_t>(std::ssize(out), mBytes.size() - offset);
        std::copy_n(reinterpret_cast<const std::byte*>(mBytes.constData()) + offset, count, out.begin());
        return count;
    }

private:
    QByteArray mBytes;
};

std::vector<AudioTrackPtr> tracksOf(const std::shared_ptr<const AudioFile>& file)
{
    std::vector<AudioTrackPtr> tracks;
    for (const AudioClipPtr& clip : AudioFile::pcmAudioClips(file))
        tracks.push_back(std::make_shared<AudioTrack>(ClipList(clip)));
    return tracks;
}

class VLWaveformCacheRendererTest : public test::FileTest
{
protected:
    /// Tracks of a file with noise in this format.
    std::vector<AudioTrackPtr> noiseTracks(const test::WaveFields& fields, int64_t numFrames)
    {
        if (fields.formatTag == 3)
            return tracksOf(std::make_shared<FloatFile>(fields.bits, fields.numChannels, numFrames));
        const int64_t numBytes = numFrames * fields.numChannels * fields.bits / 8;
        return tracksOf(openBytes(test::wave(fields, test::noiseBytes(numBytes, 7))));
    }
};

int16_t entryValue(float sample)
{
    return static_cast<int16_t>(std::round(std::clamp(sample, -1.0F, 1.0F) * 32767.0));
}

/// The whole entries of a track, from its samples.
std::vector<int16_t> expectedEntries(const AudioTrack& track, bool isInt16)
{
    const FloatBuffer samples = track.sampleDataAtOffset(0, track.length());
    std::vector<int16_t> entries;
    for (size_t start = 0; start + 512 <= samples.size(); start += 512) {
        const auto [min, max] =
            std::minmax_element(samples.begin() + static_cast<std::ptrdiff_t>(start),
                                samples.begin() + static_cast<std::ptrdiff_t>(start + 512));
        for (const float extreme : {*min, *max})
            entries.push_back(isInt16 ? static_cast<int16_t>(std::lround(extreme * 32768.0F))
                                      : entryValue(extreme));
    }
    return entries;
}

} // namespace

TEST_F(VLWaveformCacheRendererTest, SummarisesEveryChannelOfEverySampleFormat)
{
    const test::WaveFields formats[] = {
        {1, 1, 44100, 16}, {1, 2, 44100, 16}, {1, 5, 44100, 16}, {1, 2, 44100, 8},  {1, 2, 44100, 24},
        {1, 3, 44100, 32}, {3, 1, 44100, 32}, {3, 2, 44100, 32}, {3, 2, 44100, 64}, {1, 40, 44100, 16}};
    for (const test::WaveFields& fields : formats) {
        SCOPED_TRACE(testing::Message() << fields.numChannels << " channels, " << fields.bits << " bits");
        constexpr int64_t numFrames = 70'000;
        const auto tracks = noiseTracks(fields, numFrames);
        const auto renderer = VLWaveformCacheRenderer::rendererForTracks(tracks);
        ASSERT_TRUE(renderer);
        SilentProgress progress;
        renderer->run(progress);
        EXPECT_EQ(renderer->progress(), 1.0);
        for (const AudioTrackPtr& track : tracks) {
            const WaveformCache& cache = track->clips().at(0)->waveformCache();
            EXPECT_TRUE(cache.isFinal());
            EXPECT_EQ(cache.length(), numFrames / 512 + 1);
            std::vector<int16_t> entries = cache.data();
            entries.resize(entries.size() - 2);
            EXPECT_EQ(entries, expectedEntries(*track, fields.formatTag == 1 && fields.bits == 16));
        }
        EXPECT_FALSE(VLWaveformCacheRenderer::rendererForTracks(tracks)) << "nothing is left to scan";
    }
}

TEST_F(VLWaveformCacheRendererTest, TellsRangesThatTogetherCoverTheFile)
{
    constexpr int64_t numFrames = 1'000'000;
    const auto tracks = noiseTracks({1, 2, 44100, 16}, numFrames);
    UpdateRecorder recorder;
    const auto renderer = VLWaveformCacheRenderer::rendererForTracks(tracks, &recorder);
    renderer->startRender();
    while (renderer->isRunning())
        QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    std::vector<bool> isTold(numFrames);
    for (const auto& [offset, length] : recorder.updates)
        std::fill_n(isTold.begin() + offset, length, true);
    EXPECT_EQ(std::count(isTold.begin(), isTold.end(), false), 0);
}

TEST_F(VLWaveformCacheRendererTest, TellsABusyMainThreadOnce)
{
    constexpr int64_t numFrames = 500'000;
    const auto tracks = noiseTracks({1, 2, 44100, 16}, numFrames);
    UpdateRecorder recorder;
    const auto renderer = VLWaveformCacheRenderer::rendererForTracks(tracks, &recorder);
    renderer->startRender();
    waitForEnd(*renderer);
    QCoreApplication::processEvents();
    EXPECT_EQ(recorder.updates, (std::vector<std::pair<int64_t, int64_t>>{{0, numFrames}}));
}

TEST_F(VLWaveformCacheRendererTest, KeepsSilentOnceItIsGone)
{
    UpdateRecorder recorder;
    const auto tracks = noiseTracks({1, 1, 44100, 16}, 3'000'000);
    {
        const auto renderer = VLWaveformCacheRenderer::rendererForTracks(tracks, &recorder);
        renderer->startRender();
    }
    // The scan was waited for: what it did is finished.
    EXPECT_TRUE(tracks[0]->clips().at(0)->waveformCache().isFinal());
    QCoreApplication::processEvents();
    EXPECT_TRUE(recorder.updates.empty());
}

TEST_F(VLWaveformCacheRendererTest, ScansOnlyWithOneSummaryAChannel)
{
    const auto tracks = noiseTracks({1, 2, 44100, 16}, 2000);
    const auto file = std::dynamic_pointer_cast<const AudioFile>(tracks[0]->clips().at(0)->sourceFile());
    VLWaveformCacheRenderer renderer(file, {WaveformCache()});
    renderer.startRender();
    waitForEnd(renderer);
    EXPECT_EQ(renderer.caches()[0].length(), 0);
    EXPECT_EQ(renderer.progress(), 0.0);
}

TEST_F(VLWaveformCacheRendererTest, EndsWhereAFileBecameShorter)
{
    const auto tracks = noiseTracks({1, 2, 44100, 24}, 100'000);
    std::filesystem::resize_file(path("in.wav"), 300'000);
    const auto renderer = VLWaveformCacheRenderer::rendererForTracks(tracks);
    const LogCapture log;
    SilentProgress progress;
    renderer->run(progress);
    EXPECT_NEAR(renderer->progress(), 0.5, 0.01);
    EXPECT_TRUE(log.logged().isEmpty());
    for (const AudioTrackPtr& track : tracks) {
        const WaveformCache& cache = track->clips().at(0)->waveformCache();
        EXPECT_TRUE(cache.isFinal());
        EXPECT_EQ(cache.length(), (300'000 - 44) / 6 / 512 + 1);
    }
}

TEST_F(VLWaveformCacheRendererTest, StopsWhenTheProgressIsCancelled)
{
    class CancelledAtOnce : public SilentProgress
    {
        bool isCancelled() const override { return true; }
    } progress;
    const auto tracks = noiseTracks({1, 1, 44100, 16}, 500'000);
    const auto renderer = VLWaveformCacheRenderer::rendererForTracks(tracks);
    renderer->run(progress);
    EXPECT_GT(renderer->progress(), 0.0);
    EXPECT_LT(renderer->progress(), 0.5);
}

} // namespace velloria
