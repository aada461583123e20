#include "app/preferences/Settings.h"
#include "app/waveform/WaveformView.h"
#include "controllers/CueFollower.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <benchmark/benchmark.h>
#include <cmath>

// What a frame of the moving play-head costs the process, in a view of 1280 x 720. The budget is 4 ms.

using namespace velloria;

namespace
{

constexpr double kTick = 1.0 / 60.0;

/// Ten minutes of stereo that is computed when it is asked for.
class BenchSubject : public WaveformSubject
{
public:
    int32_t numTracks() const override { return 2; }
    int64_t numFrames() const override { return int64_t{10} * 60 * 44100; }
    double sampleRate() const override { return 44100; }
    FloatBuffer columns(int64_t first, int64_t count, double, int32_t) override
    {
        FloatBuffer pairs;
        for (int64_t column = first; column < first + count; ++column) {
            const auto level = static_cast<float>(0.5 + 0.4 * std::sin(0.3 * static_cast<double>(column)));
            pairs.push_back(-level);
            pairs.push_back(level);
        }
        return pairs;
    }
    FloatBuffer overviewColumns(int64_t count, int32_t track) override { return columns(0, count, 1, track); }
    SoundSelection selection() const override { return {}; }
    void setSelection(const SoundSelection&) override {}
    double cueTime() const override { return cue; }
    void setCueTime(double seconds) override { cue = seconds; }
    MarkerList markers() const override { return allMarkers; }
    double nearestZeroCrossing(double, double to, int32_t) const override { return to; }

    double cue = 0;
    MarkerList allMarkers;
};

MarkerList evenMarkers(int64_t count, int64_t numFrames)
{
    std::vector<AudioMarkerPtr> markers;
    for (int64_t i = 0; i < count; ++i)
        markers.push_back(std::make_shared<AudioMarker>(0, i * numFrames / count, QStringLiteral("Marker")));
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers));
}

/// The view stands still (0), or follows the cue smoothly (1).
void BM_PlayHeadFrame(benchmark::State& state)
{
    BenchSubject subject;
    subject.allMarkers = evenMarkers(state.range(2), subject.numFrames());
    WaveformView view(subject);
    view.resize(1280, 720);
    view.show();
    WaveformViewGeometry& geometry = view.context().geometry();
    geometry.setZoom(static_cast<double>(state.range(1)));
    QApplication::processEvents();
    CueFollower follower;
    UserDefaults::standard().setValue(CueFollower::preferenceKey(),
                                      state.range(0) ? CueFollower::smoothly : CueFollower::never);
    follower.start(false);
    if (state.range(0))
        follower.follow(geometry, 0, geometry.revealedEndTime(), false);
    subject.cue = geometry.revealedStartTime();
    for (auto _ : state) {
        const double before = subject.cue;
        subject.cue = std::fmod(before + kTick, subject.totalTime());
        view.context().cueDidChange();
        follower.follow(geometry, before, subject.cue, false);
        QApplication::processEvents();
    }
}

} // namespace

BENCHMARK(BM_PlayHeadFrame)
    ->ArgNames({"follows", "zoom", "markers"})
    ->Args({0, 512, 1000})
    ->Args({1, 512, 1000})
    ->Args({1, 16, 1000})
    // All of them in view, and some hundreds.
    ->Args({0, 20672, 100'000})
    ->Args({1, 512, 100'000})
    ->MeasureProcessCPUTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1000);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("VelloriaBench"));
    Settings::registerDefaults();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
