#include "app/look/Translations.h"
#include "app/preferences/Settings.h"
#include "app/shell/Application.h"
#include "app/waveform/MarkerLane.h"
#include "app/waveform/WaveformView.h"
#include "app/window/DocumentWindow.h"
#include "app/window/MarkerListDock.h"
#include "controllers/EditCommands.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

// What one marker costs that comes, goes, is renamed or dragged in a window that shows many of them, with
// all that is drawn anew.

using namespace velloria;

namespace
{

constexpr double kSeconds = 600;

/// A window of ten minutes with its list of markers open.
class Fixture
{
public:
    explicit Fixture(int64_t numMarkers)
    {
        mEditor.newDocument();
        mWindow = mEditor.windows().front();
        mWindow->controller().editing().insertSilence(kSeconds, QStringLiteral("Silence"));
        std::vector<AudioMarkerPtr> markers;
        for (int64_t i = 0; i < numMarkers; ++i)
            markers.push_back(std::make_shared<AudioMarker>(0, i * document().numberOfFrames() / numMarkers,
                                                            QStringLiteral("Marker %1").arg(i)));
        document().undoableSetAudioMarkers(
            std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers)));
        mWindow->findChild<MarkerListDock*>()->show();
        mWindow->resize(1280, 720);
        draw();
        view().context().geometry().fitInWindow();
        draw();
    }
    ~Fixture()
    {
        mWindow->closeWithoutAsking();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    SoundDocument& document() { return mWindow->document(); }
    WaveformView& view() { return mWindow->view(); }
    MarkerLane& lane() { return *mWindow->findChild<MarkerLane*>(); }
    AudioMarkerPtr middle() { return document().markers().orderedAt(document().markers().count() / 2); }
    static void draw() { QApplication::processEvents(); }

private:
    Application mEditor;
    DocumentWindow* mWindow = nullptr;
};

void BM_AddAndRemoveMarker(benchmark::State& state)
{
    Fixture fixture(state.range(0));
    for (auto _ : state) {
        const auto marker = std::make_shared<AudioMarker>(0, 12'345'678, QStringLiteral("New"));
        fixture.document().addMarker(marker);
        Fixture::draw();
        fixture.document().removeAudioMarker(marker);
        Fixture::draw();
    }
}

void BM_RenameMarker(benchmark::State& state)
{
    Fixture fixture(state.range(0));
    int64_t number = 0;
    for (auto _ : state) {
        fixture.document().setName(QString::number(++number), fixture.middle());
        Fixture::draw();
    }
}

/// Across half of the others and back.
void BM_MoveMarker(benchmark::State& state)
{
    Fixture fixture(state.range(0));
    const AudioMarkerPtr marker = fixture.middle();
    int64_t place = 0;
    for (auto _ : state) {
        fixture.document().setPosition(place = 1000 - place, marker);
        Fixture::draw();
    }
}

/// One move of the mouse, snapping.
void BM_DragMarker(benchmark::State& state)
{
    Fixture fixture(state.range(0));
    const double x = fixture.view().context().geometry().xAtTime(
        fixture.middle()->secondsWithSampleRate(fixture.document().sampleRate()));
    const auto send = [&](QEvent::Type type, double at, Qt::MouseButton button) {
        QMouseEvent event(type, QPointF(at, 5), fixture.lane().mapToGlobal(QPointF(at, 5)), button,
                          Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&fixture.lane(), &event);
    };
    send(QEvent::MouseButtonPress, x, Qt::LeftButton);
    int step = 0;
    for (auto _ : state) {
        send(QEvent::MouseMove, x + 20 + ++step % 200, Qt::NoButton);
        Fixture::draw();
    }
}

} // namespace

BENCHMARK(BM_AddAndRemoveMarker)->Arg(100)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(100);
BENCHMARK(BM_RenameMarker)->Arg(100)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(100);
BENCHMARK(BM_MoveMarker)->Arg(100)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(100);
BENCHMARK(BM_DragMarker)->Arg(100)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(200);

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    for (const char* variable : {"TMPDIR", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
        qputenv(variable, home.path().toLocal8Bit());
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("VelloriaBench"));
    installTranslations(application);
    Settings::registerDefaults();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
