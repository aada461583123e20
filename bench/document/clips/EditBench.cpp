#include "document/clips/TrackReader.h"
#include "platform/FileHandle.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <random>
#include <unistd.h>

// What a very long editing session costs: cuts and pastes at random places of a stereo recording that is read
// in place, with every state kept alive, as an undo history without a limit keeps it.

namespace velloria
{
namespace
{

constexpr int64_t kBlockFrames = 32768;

/// Of this thread, so that other work on the machine does not count.
double cpuSeconds()
{
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// A file without a name where recordings lie, on a disk: a file system in memory has other page sizes.
std::shared_ptr<FileHandle> makeNamelessFile()
{
    std::string path = std::filesystem::temp_directory_path() / "recordingXXXXXX";
    const int descriptor = ::mkstemp(path.data());
    if (descriptor < 0 || ::unlink(path.c_str()) != 0)
        std::abort();
    return FileHandle::adopt(descriptor, path);
}

/// 16-bit stereo frames in a file without a name.
class StereoFile : public SampleSource
{
public:
    explicit StereoFile(int64_t numFrames)
        : mHandle(makeNamelessFile())
        , mNumFrames(numFrames)
    {
        std::mt19937 engine(1);
        std::vector<uint32_t> block(1 << 18);
        std::generate(block.begin(), block.end(), std::ref(engine));
        const auto bytes = std::as_bytes(std::span(block));
        for (int64_t done = 0; done < 4 * numFrames; done += static_cast<int64_t>(bytes.size())) {
            const auto count = std::min<int64_t>(4 * numFrames - done, static_cast<int64_t>(bytes.size()));
            if (mHandle->writeAt(done, bytes.first(static_cast<size_t>(count))))
                std::abort();
        }
    }

    int64_t numberOfFrames() const override { return mNumFrames; }
    int64_t soundDataOffset() const override { return 0; }
    bool isFloat() const override { return false; }
    int64_t channelCount() const override { return 2; }
    int64_t sampleBits() const override { return 16; }
    double sampleRate() const override { return 44100.0; }
    int64_t readAudioDataAtOffset(int64_t offset, std::span<std::byte> out) const override
    {
        return mHandle->readAt(offset, out);
    }

private:
    std::shared_ptr<FileHandle> mHandle;
    int64_t mNumFrames;
};

using StereoTracks = std::array<AudioTrackPtr, 2>;

StereoTracks unedited(const std::shared_ptr<const StereoFile>& file)
{
    StereoTracks tracks;
    for (size_t channel = 0; channel < 2; ++channel) {
        auto clip =
            std::make_shared<AudioClip>(file, 0, file->numberOfFrames(), static_cast<int64_t>(channel));
        std::vector<int16_t> entries(static_cast<size_t>(file->numberOfFrames() / 512 * 2), 1000);
        clip->waveformCache().setData(std::move(entries));
        tracks[channel] = std::make_shared<AudioTrack>(ClipList(std::move(clip)));
    }
    return tracks;
}

double residentMegabytes()
{
    // What an earlier session left in the heap would otherwise be taken for free.
    ::malloc_trim(0);
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

/// Cuts and pastes by turns; the longest range cut is a parameter.
class Session
{
public:
    Session(StereoTracks tracks, int64_t longestCut)
        : mTracks(std::move(tracks))
        , mLongestCut(static_cast<uint64_t>(longestCut))
    {
    }

    void edit()
    {
        const auto length = static_cast<uint64_t>(mTracks[0]->length());
        const auto offset = static_cast<int64_t>(mEngine() % length);
        const auto count = static_cast<int64_t>(1 + mEngine() % std::min(mLongestCut, length));
        mIsCut = !mIsCut;
        for (size_t i = 0; i < 2; ++i) {
            auto track = AudioTrack::trackWithTrack(*mTracks[i]);
            if (mIsCut) {
                mClipboard[i] = track->clipsAtOffset(offset, count);
                track->removeDataAtOffset(offset, count);
            } else {
                track->insertClips(mClipboard[i], offset);
            }
            mTracks[i] = track;
            mHistory.push_back(std::move(track));
        }
    }

    const StereoTracks& tracks() const { return mTracks; }
    void reserve(size_t numEdits) { mHistory.reserve(2 * numEdits); }

private:
    StereoTracks mTracks;
    uint64_t mLongestCut;
    std::mt19937_64 mEngine{7};
    std::array<ClipList, 2> mClipboard;
    std::vector<AudioTrackPtr> mHistory;
    bool mIsCut = false;
};

double secondsToRead(const StereoTracks& tracks)
{
    std::vector<float> left(kBlockFrames);
    std::vector<float> right(kBlockFrames);
    const std::array<float*, 2> outs = {left.data(), right.data()};
    double best = 1e9;
    for (int round = 0; round < 5; ++round) {
        const double start = cpuSeconds();
        for (int64_t offset = 0; offset < tracks[0]->length(); offset += kBlockFrames) {
            TrackReader::readSamples(tracks, offset, outs, kBlockFrames);
            benchmark::DoNotOptimize(left.data());
            benchmark::DoNotOptimize(right.data());
        }
        best = std::min(best, cpuSeconds() - start);
    }
    return best;
}

/// What the machine alone takes for reading a file in so many pieces, as a multiple of reading it in its
/// order: the bytes only, nothing made of them.
double ratioOfBareReads(const StereoFile& file, int64_t numPieces)
{
    std::vector<std::byte> block(65536);
    const int64_t numBytes = 4 * file.numberOfFrames();
    const auto pieceBytes = std::min<int64_t>(65536, numBytes / numPieces);
    std::mt19937_64 engine(3);
    const auto secondsFor = [&](int64_t count, size_t size, const std::function<int64_t(int64_t)>& place) {
        double best = 1e9;
        for (int round = 0; round < 3; ++round) {
            const double start = cpuSeconds();
            for (int64_t i = 0; i < count; ++i)
                file.readAudioDataAtOffset(place(i), std::span(block).first(size));
            best = std::min(best, cpuSeconds() - start);
        }
        return best;
    };
    const double inPieces = secondsFor(numPieces, static_cast<size_t>(pieceBytes), [&](int64_t) {
        return static_cast<int64_t>(engine() % static_cast<uint64_t>(numBytes - pieceBytes));
    });
    const auto blockBytes = static_cast<int64_t>(block.size());
    const double inOrder =
        secondsFor(numBytes / blockBytes, block.size(), [&](int64_t i) { return i * blockBytes; });
    return inPieces / inOrder;
}

/// Arguments: edits, minutes of sound, longest cut in seconds.
void BM_EditSession(benchmark::State& state)
{
    const int64_t numEdits = state.range(0);
    const auto file = std::make_shared<StereoFile>(state.range(1) * 60 * 44100);
    for (auto _ : state) {
        const StereoTracks before = unedited(file);
        const double readBefore = secondsToRead(before);
        const double memoryBefore = residentMegabytes();
        Session session(before, state.range(2) * 44100);
        session.reserve(static_cast<size_t>(numEdits));
        constexpr int64_t kSome = 1000;
        const auto secondsPerEdit = [&](int64_t count) {
            const double start = cpuSeconds();
            for (int64_t edit = 0; edit < count; ++edit)
                session.edit();
            return (cpuSeconds() - start) / static_cast<double>(count);
        };
        const double firstThousand = secondsPerEdit(kSome);
        secondsPerEdit(numEdits - 2 * kSome);
        const double lastThousand = secondsPerEdit(kSome);
        state.counters["MB"] = residentMegabytes() - memoryBefore;
        state.counters["clips"] = static_cast<double>(session.tracks()[0]->clips().count());
        state.counters["height"] = session.tracks()[0]->clips().height();
        state.counters["first_us"] = firstThousand * 1e6;
        state.counters["last_us"] = lastThousand * 1e6;
        state.counters["edit_ratio"] = lastThousand / firstThousand;
        state.counters["read_ratio"] = secondsToRead(session.tracks()) / readBefore;
        state.counters["bare_ratio"] = ratioOfBareReads(*file, session.tracks()[0]->clips().count());
        state.counters["read_GB/s"] = static_cast<double>(8 * file->numberOfFrames()) / readBefore / 1e9;
    }
}

BENCHMARK(BM_EditSession)
    ->Args({100'000, 60, 3600})
    ->Args({100'000, 60, 60})
    ->Args({100'000, 60, 1})
    ->Args({100'000, 600, 3600})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

/// Reading both channels of a file in place, one after the other or together.
void BM_ReadUneditedTracks(benchmark::State& state)
{
    const auto file = std::make_shared<StereoFile>(10 * 60 * 44100);
    const StereoTracks tracks = unedited(file);
    std::vector<float> left(kBlockFrames);
    std::vector<float> right(kBlockFrames);
    const std::array<float*, 2> outs = {left.data(), right.data()};
    int64_t offset = 0;
    for (auto _ : state) {
        if (state.range(0)) {
            TrackReader::readSamples(tracks, offset, outs, left.size());
        } else {
            tracks[0]->readSamples(offset, left);
            tracks[1]->readSamples(offset, right);
        }
        benchmark::DoNotOptimize(left.data());
        benchmark::DoNotOptimize(right.data());
        offset = (offset + kBlockFrames) % file->numberOfFrames();
    }
    state.SetBytesProcessed(state.iterations() * kBlockFrames * 4);
}
BENCHMARK(BM_ReadUneditedTracks)->ArgName("together")->Arg(0)->Arg(1);

} // namespace
} // namespace velloria
