#include "Classes/CoreAudio/VLRTAudioPlayer.h"
#include "document/DocumentTransport.h"
#include "document/SoundDocument.h"
#include "platform/Log.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QCoreApplication>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <thread>

// What the device's thread has to do for a block of 512 frames, as a share of the time that the block lasts;
// and how long it takes from the command to play until the device has its first frame.

using namespace velloria;

namespace
{

constexpr uint32_t kBlockFrames = 512;
constexpr double kRate = 44100.0;
constexpr int64_t kNumFrames = 60 * int64_t{44100};

/// A minute of stereo that plays on simulated hardware.
struct PlayingDocument {
    explicit PlayingDocument(double deviceRate = kRate)
    {
        HardwareState state = hardware->state();
        state.devices[0] = SimulatedHardware::outputDevice(2, QStringLiteral("out"), deviceRate);
        hardware->setState(state);
        AudioHardware::setCurrent(hardware);
        VLRTAudioPlayer::registerDefaults();
        FloatBuffer samples(kNumFrames);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<float>(i % 1021) / 1024.0F - 0.5F;
        const auto clip = MutableAudioClip::clipWithSampleRate(kRate);
        clip->appendData(samples);
        clip->finalizeCache();
        for (int32_t track = 0; track < 2; ++track)
            document->replaceDataAtOffset(0, 0, track, ClipList(AudioClipPtr(clip)));
    }
    ~PlayingDocument()
    {
        document.reset();
        AudioHardware::setCurrent(nullptr);
    }
    DocumentTransport& transport() { return document->transport(); }
    SoundSelection everything() const { return {0.0, document->totalTime(), 0, 2}; }
    void waitForFill()
    {
        const PlaybackFeed& feed = transport().audioPlayback()->core().feed();
        while (feed.ring.framesAvailableToConsume() < 8192)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
    }

    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    std::shared_ptr<SoundDocument> document = std::make_shared<SoundDocument>();
};

double threadSeconds()
{
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void renderBlocks(benchmark::State& state, double deviceRate, double tempo)
{
    PlayingDocument playing(deviceRate);
    playing.transport().setAudioPlaybackLoops(true);
    playing.transport().setPlaybackSpeed(tempo);
    playing.transport().playSelection(playing.everything(), 0.0);
    std::vector<double> seconds;
    for (auto _ : state) {
        playing.waitForFill();
        const double before = threadSeconds();
        benchmark::DoNotOptimize(playing.hardware->output()->pull(kBlockFrames));
        seconds.push_back(threadSeconds() - before);
        state.SetIterationTime(seconds.back());
    }
    std::sort(seconds.begin(), seconds.end());
    const double budget = kBlockFrames / deviceRate;
    const auto share = [&](double quantile) {
        const auto last = static_cast<double>(seconds.size() - 1);
        return 100.0 * seconds[static_cast<size_t>(quantile * last)] / budget;
    };
    state.counters["median_%"] = share(0.5);
    state.counters["p99.9_%"] = share(0.999);
    state.counters["max_%"] = share(1.0);
}

void BM_RenderUnchanged(benchmark::State& state)
{
    renderBlocks(state, kRate, 1.0);
}

void BM_RenderAtAnotherRate(benchmark::State& state)
{
    renderBlocks(state, 48000.0, 1.0);
}

void BM_RenderAtAnotherTempo(benchmark::State& state)
{
    renderBlocks(state, kRate, static_cast<double>(state.range(0)) / 100.0);
}

/// Wall time; the budget is 50 ms.
void BM_StartToFirstFrame(benchmark::State& state)
{
    PlayingDocument playing;
    for (auto _ : state) {
        playing.transport().playSelection(playing.everything(), 0.0);
        const std::vector<float> frames = playing.hardware->output()->pull(kBlockFrames);
        state.PauseTiming();
        if (frames.empty() || frames[2] == 0.0F)
            state.SkipWithError("the device got nothing");
        playing.transport().stopSound();
        while (playing.transport().audioPlayback())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        state.ResumeTiming();
    }
}

} // namespace

BENCHMARK(BM_RenderUnchanged)->UseManualTime()->Iterations(20000);
BENCHMARK(BM_RenderAtAnotherRate)->UseManualTime()->Iterations(20000);
BENCHMARK(BM_RenderAtAnotherTempo)->Arg(50)->Arg(125)->Arg(200)->UseManualTime()->Iterations(5000);
BENCHMARK(BM_StartToFirstFrame)->Unit(benchmark::kMillisecond)->Iterations(100);

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("VelloriaBench"));
    // What the player prints is not for the table.
    const LogCapture log;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
