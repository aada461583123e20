#include "document/SoundDocument.h"
#include "effects/EffectRegistry.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

// Whole effects over ten minutes of 16-bit stereo read in place from a WAVE file, against what they cannot do
// without: writing as many floats to scratch files. The ratio of the two is the figure to watch.

using namespace velloria;

namespace
{

constexpr int64_t kNumFrames = int64_t{10} * 60 * 44100;

FloatBuffer sawtooth(size_t numFrames)
{
    FloatBuffer samples(numFrames);
    for (size_t i = 0; i < numFrames; ++i)
        samples[i] = static_cast<float>(i % 1021) / 1024.0F - 0.5F;
    return samples;
}

/// A document on a file that is already without a name, so that nothing is left behind.
std::shared_ptr<SoundDocument> openedDocument()
{
    const auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
    clip->appendData(sawtooth(kNumFrames));
    clip->finalizeCache();
    SoundDocument writer;
    for (int32_t track = 0; track < 2; ++track)
        writer.replaceDataAtOffset(0, 0, track, ClipList(AudioClipPtr(clip)));
    SaveRequest request;
    request.path =
        std::filesystem::temp_directory_path() / ("EffectBench-" + std::to_string(::getpid()) + ".wav");
    request.uti = QStringLiteral("com.microsoft.waveform-audio");
    request.operation = SaveOperation::saveTo;
    SilentProgress progress;
    writer.writeToPath(request, progress);
    auto document = SoundDocument::readFromPath(request.path, QString(), progress, nullptr);
    std::filesystem::remove(request.path);
    return document;
}

const std::shared_ptr<SoundDocument>& sharedDocument()
{
    static const std::shared_ptr<SoundDocument> document = openedDocument();
    return document;
}

void applyEffect(benchmark::State& state, const char* scriptName)
{
    const auto& document = sharedDocument();
    if (!document) {
        state.SkipWithError("the WAVE file could not be made");
        return;
    }
    const EffectEntry* const entry = EffectRegistry::effectWithScriptName(QString::fromLatin1(scriptName));
    for (auto _ : state) {
        const std::unique_ptr<Filter> filter = entry->make(entry->menuTitle);
        filter->setParameters({{QStringLiteral("Gain"), -6.0}});
        filter->setSource(std::make_shared<DocumentSource>(document));
        if (filter->apply())
            state.SkipWithError("the effect failed");
        document->undoManager().undo();
        document->undoManager().clear();
    }
    state.SetItemsProcessed(state.iterations() * kNumFrames);
}

void writeScratch(benchmark::State& state)
{
    const FloatBuffer batch = sawtooth(65536);
    for (auto _ : state) {
        for (int track = 0; track < 2; ++track) {
            const auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
            for (int64_t done = 0; done < kNumFrames; done += std::ssize(batch))
                clip->appendData(batch);
            clip->finalizeCache();
        }
    }
    state.SetItemsProcessed(state.iterations() * kNumFrames);
}

BENCHMARK(writeScratch)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(applyEffect, amplify, "amplify")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(applyEffect, normalize, "normalize")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(applyEffect, fadeIn, "fade in")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(applyEffect, reverse, "reverse")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
