// A save of changed tags copies the packets of the sound: it should take little longer than a copy of the
// file that is flushed to the disk. A save after cuts copies those that no cut touched: it should take a
// third of what encoding takes.
#include "document/SoundDocument.h"
#include "document/clips/MutableAudioClip.h"
#include "platform/FileReplacer.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <random>

namespace velloria
{
namespace
{

constexpr int kSeconds = 600;
constexpr double kRate = 44100.0;

void check(const MaybeError& error)
{
    if (error)
        std::abort();
}

/// Ten minutes of noise, encoded once a type.
std::filesystem::path encodedNoise(const QTemporaryDir& folder, const QString& uti)
{
    const auto document = std::make_shared<SoundDocument>();
    std::mt19937 generator(1);
    std::uniform_real_distribution<float> amplitude(-0.1F, 0.1F);
    std::vector<AudioTrackPtr> tracks;
    for (int t = 0; t < 2; ++t) {
        auto clip = MutableAudioClip::clipWithSampleRate(kRate);
        FloatBuffer second(static_cast<size_t>(kRate));
        for (int i = 0; i < kSeconds; ++i) {
            for (float& sample : second)
                sample = amplitude(generator);
            check(clip->appendData(second));
        }
        clip->finalizeCache();
        tracks.push_back(std::make_shared<AudioTrack>(ClipList(AudioClipPtr(clip))));
    }
    document->undoableSetSampleRate(kRate);
    document->undoableSetAudioTracks(std::make_shared<const std::vector<AudioTrackPtr>>(std::move(tracks)));
    SaveRequest request;
    request.path = std::filesystem::path(folder.path().toStdString()) / "noise";
    request.uti = uti;
    SilentProgress progress;
    check(document->writeToPath(request, progress));
    return request.path;
}

const char* const kTypes[] = {"public.mp3", "org.videolan.flac", "org.videolan.ogg-audio",
                              "public.mpeg-4-audio.aac"};

void copyAndFlush(benchmark::State& state)
{
    const QTemporaryDir folder;
    const auto path = encodedNoise(folder, QString::fromLatin1(kTypes[state.range(0)]));
    const auto source = FileHandle::openForReading(path);
    for (auto _ : state) {
        MaybeError error;
        const auto replacer = FileReplacer::create(path.string() + ".copy", &error);
        check(error);
        replacer->handle()->copyFrom(*source, 0, 0, source->length(), &error);
        check(error);
        check(replacer->commit());
    }
    state.SetBytesProcessed(state.iterations() * source->length());
    state.SetLabel(kTypes[state.range(0)]);
}

void saveTags(benchmark::State& state)
{
    const QTemporaryDir folder;
    const auto path = encodedNoise(folder, QString::fromLatin1(kTypes[state.range(0)]));
    SilentProgress silent;
    const auto document = SoundDocument::readFromPath(path, QString(), silent, nullptr);
    SaveRequest request;
    request.path = path;
    request.uti = document->fileType();
    int number = 0;
    for (auto _ : state) {
        AudioMetadata metadata = document->audioMetadata();
        metadata.setTitle(QString::number(++number));
        document->undoableSetAudioMetadata(metadata);
        SilentProgress progress;
        check(document->writeToPath(request, progress));
    }
    const auto length = static_cast<int64_t>(std::filesystem::file_size(path));
    state.SetBytesProcessed(state.iterations() * length);
    state.SetLabel(kTypes[state.range(0)]);
}

/// Ten cuts: of whole packets of MP3, else off the grid. With the second argument 1 all is encoded.
void saveCuts(benchmark::State& state)
{
    const QTemporaryDir folder;
    const auto path = encodedNoise(folder, QString::fromLatin1(kTypes[state.range(0)]));
    SilentProgress silent;
    const auto document = SoundDocument::readFromPath(path, QString(), silent, nullptr);
    const int64_t numFramesCut = state.range(0) == 0 ? int64_t{1152} * 50 : 1001;
    for (int64_t cut = 0; cut < 10; ++cut)
        for (int32_t track = 0; track < 2; ++track)
            document->replaceDataAtOffset(cut * 2'000'000 + 12345, numFramesCut, track, ClipList());
    SaveRequest request;
    request.path = path.string() + ".cut";
    request.uti = document->fileType();
    request.operation = SaveOperation::saveTo;
    request.seams = state.range(1) == 0 ? SeamMode::exact : SeamMode::none;
    for (auto _ : state) {
        SilentProgress progress;
        check(document->writeToPath(request, progress));
    }
    state.SetLabel(std::string(kTypes[state.range(0)]) + (state.range(1) == 0 ? " copied" : " encoded"));
}

BENCHMARK(saveCuts)->ArgsProduct({{0, 1}, {0, 1}})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(copyAndFlush)->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(saveTags)->DenseRange(0, 3)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace velloria
