#include "display/summary/WaveformCache.h"
#include "platform/VectorTarget.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstring>
#include <random>

// How fast a summary is made and asked, beside the fastest plain minimum/maximum loop over the same bytes and
// their copying. The argument is the size of the input in KiB: one that stays in the cache, one that does
// not.

namespace velloria
{
namespace
{

std::vector<int16_t> randomWords(int64_t kibibytes)
{
    std::mt19937 engine(1);
    std::vector<int16_t> samples(static_cast<size_t>(kibibytes) * 512);
    std::generate(samples.begin(), samples.end(), [&] { return static_cast<int16_t>(engine()); });
    return samples;
}

std::vector<float> randomFloats(int64_t kibibytes)
{
    const auto words = randomWords(kibibytes);
    std::vector<float> samples(words.size() / 2);
    std::transform(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(samples.size()),
                   samples.begin(), [](int16_t word) { return static_cast<float>(word) / 32768.0F; });
    return samples;
}

void setBytes(benchmark::State& state, size_t bytes)
{
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}

template <typename Sample> struct PlainMinMax {
    VELLORIA_KERNEL static void run(const Sample* samples, size_t count, Sample* result)
    {
        constexpr size_t kLanes = 256 / sizeof(Sample);
        Sample low[kLanes];
        Sample high[kLanes];
        std::copy_n(samples, kLanes, low);
        std::copy_n(samples, kLanes, high);
        for (size_t i = 0; i + kLanes <= count; i += kLanes) {
            for (size_t lane = 0; lane < kLanes; ++lane) {
                low[lane] = samples[i + lane] < low[lane] ? samples[i + lane] : low[lane];
                high[lane] = samples[i + lane] > high[lane] ? samples[i + lane] : high[lane];
            }
        }
        result[0] = *std::min_element(low, low + kLanes);
        result[1] = *std::max_element(high, high + kLanes);
    }
};

void BM_MemcpyInt16(benchmark::State& state)
{
    const auto samples = randomWords(state.range(0));
    std::vector<int16_t> copy(samples.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), samples.data(), 2 * samples.size());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    setBytes(state, 2 * samples.size());
}

void BM_PlainMinMaxInt16(benchmark::State& state)
{
    const auto samples = randomWords(state.range(0));
    int16_t result[2];
    for (auto _ : state) {
        runKernel<PlainMinMax<int16_t>>(samples.data(), samples.size(), result);
        benchmark::DoNotOptimize(result);
    }
    setBytes(state, 2 * samples.size());
}

void BM_SummaryOfStereoInt16(benchmark::State& state)
{
    const auto samples = randomWords(state.range(0));
    for (auto _ : state) {
        WaveformCache left;
        WaveformCache right;
        WaveformCache* const caches[] = {&left, &right};
        WaveformCache::appendInterleavedInt16(samples, caches);
        benchmark::DoNotOptimize(left.length());
    }
    setBytes(state, 2 * samples.size());
}

void BM_SummaryOfMonoInt16(benchmark::State& state)
{
    const auto samples = randomWords(state.range(0));
    for (auto _ : state) {
        WaveformCache cache;
        cache.appendInt16Data(samples);
        benchmark::DoNotOptimize(cache.length());
    }
    setBytes(state, 2 * samples.size());
}

void BM_PlainMinMaxFloat(benchmark::State& state)
{
    const auto samples = randomFloats(state.range(0));
    float result[2];
    for (auto _ : state) {
        runKernel<PlainMinMax<float>>(samples.data(), samples.size(), result);
        benchmark::DoNotOptimize(result);
    }
    setBytes(state, 4 * samples.size());
}

void BM_SummaryOfFloats(benchmark::State& state)
{
    const auto samples = randomFloats(state.range(0));
    for (auto _ : state) {
        WaveformCache cache;
        cache.appendFloatData(samples);
        benchmark::DoNotOptimize(cache.length());
    }
    setBytes(state, 4 * samples.size());
}

/// A screen of 2000 columns over ten hours.
void BM_ColumnsOfTenHours(benchmark::State& state)
{
    const int64_t numFrames = int64_t{10} * 3600 * 44100;
    WaveformCache cache;
    cache.setData(std::vector<int16_t>(static_cast<size_t>(numFrames / 512 * 2), 1));
    for (auto _ : state) {
        const auto frames = static_cast<double>(numFrames);
        benchmark::DoNotOptimize(cache.minMaxDataAtOffset(0, frames, frames / 2000));
    }
}

constexpr int64_t kCached = 256;
constexpr int64_t kUncached = 256 * int64_t{1024};

BENCHMARK(BM_MemcpyInt16)->Arg(kCached)->Arg(kUncached);
BENCHMARK(BM_PlainMinMaxInt16)->Arg(kCached)->Arg(kUncached);
BENCHMARK(BM_SummaryOfStereoInt16)->Arg(kCached)->Arg(kUncached);
BENCHMARK(BM_SummaryOfMonoInt16)->Arg(kCached)->Arg(kUncached);
BENCHMARK(BM_PlainMinMaxFloat)->Arg(kCached)->Arg(kUncached);
BENCHMARK(BM_SummaryOfFloats)->Arg(kCached)->Arg(kUncached);
BENCHMARK(BM_ColumnsOfTenHours)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace velloria
