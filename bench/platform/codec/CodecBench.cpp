#include "platform/codec/ContainerWriter.h"
#include "platform/codec/SampleRateConverter.h"
#include "platform/codec/StreamDecoder.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <sys/mman.h>

using namespace velloria;

namespace
{

constexpr int64_t kNumFrames = int64_t{44100} * 60;

std::vector<float> stereoSound()
{
    std::vector<float> samples(2 * kNumFrames);
    for (size_t i = 0; i < samples.size(); ++i) {
        const size_t frame = i / 2;
        const auto time = static_cast<float>(frame) / 44100.0F;
        samples[i] = 0.2F * std::sin(2000.0F * time) +
                     0.1F * std::sin(9000.0F * time + static_cast<float>(i % 2)) +
                     0.002F * static_cast<float>(i * 7919 % 101) / 101.0F;
    }
    return samples;
}

StreamDescription compressed(FourCharCode formatID)
{
    StreamDescription format(44100.0, 2);
    format.setFormat(formatID);
    return format;
}

std::shared_ptr<FileHandle> encoded(FourCharCode formatID, const std::vector<float>& sound)
{
    auto handle = FileHandle::adopt(::memfd_create("bench", 0), "bench");
    const auto encoder = PacketEncoder::create(compressed(formatID), 192000, nullptr);
    ContainerWriter writer(handle, ContainerType::kMpeg4, {kNumFrames, 0});
    const auto sink = [&writer](AVPacket& packet) { return writer.writePacket(packet); };
    writer.begin(*encoder);
    encoder->encode(sound, sink);
    encoder->finish(sink);
    writer.finish({kNumFrames, encoder->primingFrames(), 0});
    return handle;
}

void decodeFile(benchmark::State& state, FourCharCode formatID)
{
    const std::shared_ptr<FileHandle> handle = encoded(formatID, stereoSound());
    std::vector<float> left(8192);
    std::vector<float> right(8192);
    float* const channels[] = {left.data(), right.data()};
    for (auto _ : state) {
        const auto reader = PacketReader::open(handle, 0, nullptr);
        const auto decoder = StreamDecoder::open(*reader, nullptr);
        while (decoder->decode(8192, channels) > 0)
            benchmark::DoNotOptimize(left.data());
    }
    state.SetItemsProcessed(state.iterations() * kNumFrames);
}

void decodeAac(benchmark::State& state)
{
    decodeFile(state, DataFormat::kAac);
}

void decodeAppleLossless(benchmark::State& state)
{
    decodeFile(state, DataFormat::kAppleLossless);
}

void encodeAac(benchmark::State& state)
{
    const std::vector<float> sound = stereoSound();
    for (auto _ : state)
        benchmark::DoNotOptimize(encoded(DataFormat::kAac, sound));
    state.SetItemsProcessed(state.iterations() * kNumFrames);
}

void convertLinearPcm(benchmark::State& state)
{
    const LinearPcmLayout layout = {static_cast<uint32_t>(state.range(0)), state.range(0) == 8,
                                    state.range(1) != 0, true};
    constexpr int64_t numFrames = 8192;
    const std::vector<std::byte> stored(static_cast<size_t>(2 * numFrames * state.range(0)), std::byte{63});
    std::vector<float> left(numFrames);
    std::vector<float> right(numFrames);
    float* const channels[] = {left.data(), right.data()};
    for (auto _ : state) {
        linearPcmToFloats(stored, layout, numFrames, channels);
        benchmark::DoNotOptimize(left.data());
    }
    state.SetItemsProcessed(state.iterations() * numFrames);
}

void convertRate(benchmark::State& state)
{
    const std::vector<float> sound = stereoSound();
    for (auto _ : state) {
        const auto converter = SampleRateConverter::create(44100.0, 48000.0, 2, nullptr);
        size_t offset = 0;
        const auto source = [&sound, &offset](int64_t numFrames) {
            const size_t count = std::min(static_cast<size_t>(numFrames) * 2, sound.size() - offset);
            const auto* const from = sound.data() + offset;
            offset += count;
            return std::vector<float>(from, from + count);
        };
        while (!converter->convert(4096, source).empty())
            continue;
    }
    state.SetItemsProcessed(state.iterations() * kNumFrames);
}

} // namespace

BENCHMARK(decodeAac)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(decodeAppleLossless)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(encodeAac)->Unit(benchmark::kMillisecond);
BENCHMARK(convertLinearPcm)->ArgsProduct({{1, 2, 3, 4, 8}, {0, 1}});
BENCHMARK(convertRate)->Unit(benchmark::kMillisecond);
