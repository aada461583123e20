#include "document/SoundDocument.h"

#include <benchmark/benchmark.h>

using namespace velloria;

namespace
{

/// Markers that come one by one, each a step of its own, are taken back and come again; the time a marker
/// must not grow with their number.
void markersOneByOne(benchmark::State& state)
{
    for (auto _ : state) {
        SoundDocument document;
        for (int64_t i = 0; i < state.range(0); ++i)
            document.addMarker(std::make_shared<AudioMarker>(0, i, QStringLiteral("Marker")));
        document.undoManager().setIndex(0);
        document.undoManager().setIndex(document.undoManager().count());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The first marker of the list goes, over and over, while the order of the positions is asked for.
void removingOneByOne(benchmark::State& state)
{
    std::vector<AudioMarkerPtr> markers;
    for (int64_t i = 0; i < state.range(0); ++i)
        markers.push_back(std::make_shared<AudioMarker>(0, i, QStringLiteral("Marker")));
    for (auto _ : state) {
        SoundDocument document;
        document.addMarkers(markers, {});
        while (!document.orderedMarkers()->empty())
            document.removeAudioMarker(document.orderedMarkers()->front());
        document.undoManager().setIndex(0);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(markersOneByOne)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(removingOneByOne)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace
