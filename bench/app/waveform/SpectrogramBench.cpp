#include "app/preferences/Settings.h"
#include "app/waveform/WaveformView.h"
#include "document/clips/MutableAudioClip.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <benchmark/benchmark.h>
#include <chrono>
#include <ctime>
#include <random>
#include <thread>

// What a frame of the spectrogram of an hour costs the window's thread while somebody scrolls or zooms 60
// times a second, in a view of 1280 x 720. Tiles are computed in the background meanwhile. The budget is 16
// ms.

using namespace velloria;

namespace
{

constexpr double kRate = 44100.0;
constexpr std::chrono::microseconds kTick(16667);

/// A minute of noise with a swell, sixty times.
AudioTrackPtr makeHour(unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> distribution(-1.0F, 1.0F);
    FloatBuffer samples(static_cast<size_t>(60 * kRate));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = distribution(random) * static_cast<float>(i % 44100) / 44100.0F;
    const auto minute = std::make_shared<MutableAudioClip>(kRate);
    if (minute->appendData(samples))
        return nullptr;
    minute->finalizeCache();
    std::vector<AudioClipPtr> clips;
    constexpr int numMinutes = 60;
    clips.reserve(numMinutes);
    for (int i = 0; i < numMinutes; ++i)
        clips.push_back(minute->subdataWithOffset(0, minute->numFrames()));
    return std::make_shared<AudioTrack>(ClipList(clips));
}

/// An hour of stereo.
class HourSubject : public WaveformSubject
{
public:
    HourSubject()
        : mTracks(std::make_shared<const std::vector<AudioTrackPtr>>(
              std::vector<AudioTrackPtr>{makeHour(1), makeHour(2)}))
    {
    }
    int32_t numTracks() const override { return 2; }
    int64_t numFrames() const override { return mTracks->front()->length(); }
    double sampleRate() const override { return kRate; }
    TrackList tracks() const override { return mTracks; }
    FloatBuffer columns(int64_t, int64_t count, double, int32_t) override
    {
        return FloatBuffer(2 * static_cast<size_t>(count));
    }
    FloatBuffer overviewColumns(int64_t count, int32_t track) override { return columns(0, count, 1, track); }
    SoundSelection selection() const override { return {}; }
    void setSelection(const SoundSelection&) override {}
    double cueTime() const override { return 0; }
    void setCueTime(double) override {}
    MarkerList markers() const override { return mMarkers; }
    double nearestZeroCrossing(double, double to, int32_t) const override { return to; }

private:
    TrackList mTracks;
    MarkerList mMarkers = std::make_shared<const std::vector<AudioMarkerPtr>>();
};

double threadMilliseconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

/// Scrolls by a third of a second (0), or zooms in from the whole hour and out again (1).
void BM_SpectrogramFrame(benchmark::State& state)
{
    UserDefaults::standard().setValue(Settings::showsSpectrogram, 1);
    HourSubject subject;
    WaveformView view(subject);
    view.resize(1280, 720);
    view.show();
    WaveformViewGeometry& geometry = view.context().geometry();
    geometry.fitInWindow();
    const double widest = geometry.zoom();
    geometry.setZoom(state.range(0) == 0 ? 512 : widest);
    QApplication::processEvents();
    double worst = 0;
    int frame = 0;
    double factor = 0.96;
    for (auto _ : state) {
        const auto next = std::chrono::steady_clock::now() + kTick;
        const double before = threadMilliseconds();
        if (state.range(0) == 0) {
            geometry.scrollByPixels(29);
        } else {
            factor = geometry.zoom() < 64 ? 1.0 / 0.96 : geometry.zoom() > 0.9 * widest ? 0.96 : factor;
            geometry.setZoom(geometry.zoom() * factor);
        }
        QApplication::processEvents();
        const double spent = threadMilliseconds() - before;
        worst = ++frame > 1 ? std::max(worst, spent) : 0.0;
        state.PauseTiming();
        std::this_thread::sleep_until(next);
        state.ResumeTiming();
    }
    state.counters["worst_ms"] = worst;
    UserDefaults::standard().removeValue(Settings::showsSpectrogram);
}

} // namespace

BENCHMARK(BM_SpectrogramFrame)
    ->ArgName("zooms")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(300);
