#include "document/clips/AudioClip.h"
#include "document/clips/FrameSource.h"
#include "document/clips/MutableAudioClip.h"
#include "formats/wave/WaveFile.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <random>

// Saving a minute of stereo as a WAVE file, in bytes written a second: the way that samples take depends on
// where their clips read them. BM_CopyFile writes as many bytes without looking at them.

namespace velloria
{
namespace
{

constexpr int64_t numFrames = 60 * int64_t{44100};

std::filesystem::path benchPath(const char* name)
{
    return std::filesystem::temp_directory_path() / (std::string("velloria-save-bench-") + name);
}

std::shared_ptr<FileHandle> newFile(const std::filesystem::path& path)
{
    return FileHandle::adopt(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), path);
}

class TwoTracks : public FrameSource
{
public:
    TwoTracks(const AudioClipPtr& left, const AudioClipPtr& right)
        : mTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::vector{
              std::make_shared<AudioTrack>(ClipList(left)), std::make_shared<AudioTrack>(ClipList(right))}))
    {
    }
    int64_t numberOfFrames() const override { return numFrames; }
    double sampleRate() const override { return 44100.0; }
    TrackList audioTracks() const override { return mTracks; }

private:
    TrackList mTracks;
};

AudioClipPtr scratchClip(unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<float> amplitude(-0.9F, 0.9F);
    std::vector<float> samples(static_cast<size_t>(numFrames));
    std::generate(samples.begin(), samples.end(), [&] { return amplitude(engine); });
    auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
    clip->appendData(samples);
    clip->finalizeCache();
    return clip;
}

const TwoTracks& scratchDocument()
{
    static const TwoTracks document(scratchClip(1), scratchClip(2));
    return document;
}

int64_t save(const FrameSource& document, uint32_t bits, const std::filesystem::path& path)
{
    WaveFile file(44100.0, bits, 2);
    file.setFileHandle(newFile(path));
    SilentProgress progress;
    file.saveDocument(document, nullptr, progress, nullptr);
    return file.lengthOfFile();
}

/// A file of 16 bits; it has no name any more when it is opened, so that nothing is left behind.
const std::shared_ptr<FileHandle>& sourceHandle()
{
    static const std::shared_ptr<FileHandle> handle = [] {
        save(scratchDocument(), 16, benchPath("source.wav"));
        auto opened = FileHandle::openForReading(benchPath("source.wav"));
        std::filesystem::remove(benchPath("source.wav"));
        return opened;
    }();
    return handle;
}

/// The channels of that file, read in place.
const std::vector<AudioClipPtr>& clipsInPlace()
{
    static const std::vector<AudioClipPtr> clips =
        AudioFile::pcmAudioClips(WaveFile::open(sourceHandle(), nullptr));
    return clips;
}

void saveRepeatedly(benchmark::State& state, const FrameSource& document, uint32_t bits)
{
    int64_t numBytes = 0;
    for (auto _ : state)
        numBytes += save(document, bits, benchPath("out.wav"));
    state.SetBytesProcessed(numBytes);
    std::filesystem::remove(benchPath("out.wav"));
}

void BM_SaveFloats(benchmark::State& state)
{
    saveRepeatedly(state, scratchDocument(), static_cast<uint32_t>(state.range(0)));
}
BENCHMARK(BM_SaveFloats)->Arg(8)->Arg(16)->Arg(24)->Arg(32)->UseRealTime()->MeasureProcessCPUTime();

void BM_SaveInPlace(benchmark::State& state)
{
    saveRepeatedly(state, TwoTracks(clipsInPlace()[0], clipsInPlace()[1]), 16);
}
BENCHMARK(BM_SaveInPlace)->UseRealTime()->MeasureProcessCPUTime();

void BM_SaveInPlaceWithSwappedChannels(benchmark::State& state)
{
    saveRepeatedly(state, TwoTracks(clipsInPlace()[1], clipsInPlace()[0]), 16);
}
BENCHMARK(BM_SaveInPlaceWithSwappedChannels)->UseRealTime()->MeasureProcessCPUTime();

void BM_SaveInPlaceInAnotherSize(benchmark::State& state)
{
    saveRepeatedly(state, TwoTracks(clipsInPlace()[0], clipsInPlace()[1]), 24);
}
BENCHMARK(BM_SaveInPlaceInAnotherSize)->UseRealTime()->MeasureProcessCPUTime();

void BM_CopyFile(benchmark::State& state)
{
    int64_t numBytes = 0;
    for (auto _ : state) {
        MaybeError error;
        numBytes +=
            newFile(benchPath("out.wav"))->copyFrom(*sourceHandle(), 0, 0, sourceHandle()->length(), &error);
    }
    state.SetBytesProcessed(numBytes);
    std::filesystem::remove(benchPath("out.wav"));
}
BENCHMARK(BM_CopyFile)->UseRealTime()->MeasureProcessCPUTime();

} // namespace
} // namespace velloria
