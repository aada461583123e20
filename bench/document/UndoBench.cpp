#include "document/UndoGroup.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

using namespace velloria;

namespace
{

/// What a step costs by itself: its time, and its memory apart from the clip lists that edits make.
void undoSteps(benchmark::State& state)
{
    constexpr int numSteps = 10000;
    SoundDocument document;
    const TrackList one = document.audioTracks();
    const auto other = std::make_shared<const std::vector<AudioTrackPtr>>(*one);
    for (auto _ : state) {
        const size_t before = mallinfo2().uordblks;
        for (int i = 0; i < numSteps; ++i) {
            const UndoGroup group(document, QStringLiteral("Edit"));
            document.undoableSetAudioTracks(i % 2 == 0 ? other : one);
        }
        state.counters["bytes/step"] = static_cast<double>(mallinfo2().uordblks - before) / numSteps;
        document.undoManager().clear();
        document.undoableSetAudioTracks(one);
        document.undoManager().clear();
    }
    state.SetItemsProcessed(state.iterations() * numSteps);
}

BENCHMARK(undoSteps)->Unit(benchmark::kMillisecond);

} // namespace
