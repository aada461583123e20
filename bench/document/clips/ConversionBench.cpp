#include "document/clips/AudioData.h"
#include "document/clips/Dither.h"
#include "document/clips/SampleKernels.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstring>
#include <random>

// Each conversion of the sample path over blocks of 32768 stereo frames, the size in which files are read and
// written, in bytes of its input. BM_MemcpyOf* copies as many bytes.

namespace velloria
{
namespace
{

constexpr size_t kFrames = 32768;
constexpr size_t kSamples = 2 * kFrames;

std::vector<std::byte> randomBytes(size_t count)
{
    std::mt19937 engine(1);
    std::vector<std::byte> bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::byte>(engine()); });
    return bytes;
}

std::vector<float> randomFloats(size_t count)
{
    std::mt19937 engine(1);
    std::uniform_real_distribution<float> distribution(-1.0F, 1.0F);
    std::vector<float> samples(count);
    std::generate(samples.begin(), samples.end(), [&] { return distribution(engine); });
    return samples;
}

void setBytes(benchmark::State& state, size_t bytes)
{
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}

/// The argument is the number of bytes a sample.
void BM_MemcpyOfSamples(benchmark::State& state)
{
    const auto in = randomBytes(kSamples * static_cast<size_t>(state.range(0)));
    std::vector<std::byte> out(in.size());
    for (auto _ : state) {
        std::memcpy(out.data(), in.data(), in.size());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, in.size());
}

void BM_MonoToFloats(benchmark::State& state)
{
    const auto in = randomBytes(kSamples * static_cast<size_t>(state.range(0)));
    std::vector<float> out(kSamples);
    for (auto _ : state) {
        SampleConversion::integersToFloats(in, state.range(0), 0, 1, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, in.size());
}

void BM_OneStereoChannelToFloats(benchmark::State& state)
{
    const auto in = randomBytes(kSamples * static_cast<size_t>(state.range(0)));
    std::vector<float> out(kFrames);
    for (auto _ : state) {
        SampleConversion::integersToFloats(in, state.range(0), 1, 2, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, in.size());
}

void BM_BothStereoChannelsToFloats(benchmark::State& state)
{
    const auto in = randomBytes(kSamples * static_cast<size_t>(state.range(0)));
    std::vector<float> left(kFrames);
    std::vector<float> right(kFrames);
    const std::array<float*, 2> channels = {left.data(), right.data()};
    for (auto _ : state) {
        SampleConversion::deinterleaveToFloats(in, state.range(0), channels, kFrames);
        benchmark::DoNotOptimize(left.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, in.size());
}

void BM_FloatsToIntegers(benchmark::State& state)
{
    const auto in = randomFloats(kSamples);
    std::vector<std::byte> out(kSamples * static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        SampleConversion::floatsToIntegers(in, state.range(0), out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, 4 * in.size());
}

void BM_FloatsToEverySecondInteger(benchmark::State& state)
{
    const auto in = randomFloats(kFrames);
    std::vector<std::byte> out(kSamples * static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        SampleConversion::floatsToIntegers(in, state.range(0), out.data(), 2);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, 4 * in.size());
}

void BM_DitherSums(benchmark::State& state)
{
    DitherGenerator generator;
    std::vector<uint32_t> sums(2048);
    for (auto _ : state) {
        generator.fill(sums);
        benchmark::DoNotOptimize(sums.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, 4 * sums.size());
}

void BM_InterleaveStereo(benchmark::State& state)
{
    const auto left = randomFloats(kFrames);
    const auto right = randomFloats(kFrames);
    const std::array<const float*, 2> channels = {left.data(), right.data()};
    std::vector<float> out(kSamples);
    for (auto _ : state) {
        SampleKernels::interleave(channels, out.data(), kFrames);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, 4 * kSamples);
}

BENCHMARK(BM_MemcpyOfSamples)->DenseRange(1, 4);
BENCHMARK(BM_MonoToFloats)->DenseRange(1, 4);
BENCHMARK(BM_OneStereoChannelToFloats)->DenseRange(1, 4);
BENCHMARK(BM_BothStereoChannelsToFloats)->DenseRange(1, 4);
BENCHMARK(BM_FloatsToIntegers)->DenseRange(1, 4);
BENCHMARK(BM_FloatsToEverySecondInteger)->DenseRange(1, 4);
BENCHMARK(BM_DitherSums);
BENCHMARK(BM_InterleaveStereo);

} // namespace
} // namespace velloria
