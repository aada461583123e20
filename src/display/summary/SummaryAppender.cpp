#include "display/summary/SummaryAppender.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria::SummaryAppender
{

namespace
{

constexpr double kFullScale = 32767.0;
// Entries are made and handed to the stores in pieces of this many, those of all channels together.
constexpr size_t kPieceEntries = 256;

/// round(sample * 32767), halves away from zero, which is exact this way: the product has no more bits than a
/// double.
int16_t wordFromUnitSample(float sample)
{
    const double scaled = std::clamp(sample, -1.0F, 1.0F) * kFullScale;
    return static_cast<int16_t>(scaled + std::copysign(0.5, scaled));
}

int16_t rawWord(float sample)
{
    const double scaled = std::round(sample * kFullScale);
    return scaled == scaled ? static_cast<int16_t>(std::clamp(scaled, -32768.0, 32767.0)) : int16_t{0};
}

/// Rounded, then narrowed to the low 16 bits without regard to overflow.
int16_t narrowedWord(float sample)
{
    const double scaled = std::round(sample * kFullScale);
    return std::abs(scaled) < 0x1p62 ? static_cast<int16_t>(static_cast<int64_t>(scaled)) : int16_t{0};
}

/// Clamping the two extremes gives what clamping every sample would. A group of nothing but NaN is silence.
SampleRange<int16_t> entryOf(const SampleRange<float>& range)
{
    if (range.isEmpty())
        return {0, 0};
    return {wordFromUnitSample(range.min), wordFromUnitSample(range.max)};
}

SampleRange<int16_t> entryOf(const SampleRange<int16_t>& range)
{
    return range;
}

/// One kind of input: how its ranges are found and where its remainder is kept.
struct Floats {
    using Sample = float;
    static constexpr SampleRange<float> empty = kEmptyFloatRange;
    static SummaryStore::Remainder<float>& remainderOf(SummaryStore& store) { return store.floatRemainder; }
    static void fold(const float* samples, size_t count, size_t, SampleRange<float>* range)
    {
        range->fold(SummaryKernels::range(samples, count));
    }
    static void findRanges(const float* samples, size_t zoom, size_t, size_t numGroups,
                           SampleRange<float>* ranges)
    {
        SummaryKernels::rangesOfGroups(samples, zoom, numGroups, ranges);
    }
};

struct Integers {
    using Sample = int16_t;
    static constexpr SampleRange<int16_t> empty = kEmptyInt16Range;
    static SummaryStore::Remainder<int16_t>& remainderOf(SummaryStore& store) { return store.int16Remainder; }
    static void fold(const int16_t* frames, size_t count, size_t numChannels, SampleRange<int16_t>* ranges)
    {
        SummaryKernels::foldInterleaved(frames, count, numChannels, ranges);
    }
    static void findRanges(const int16_t* frames, size_t zoom, size_t numChannels, size_t numGroups,
                           SampleRange<int16_t>* ranges)
    {
        SummaryKernels::rangesOfGroups(frames, zoom, numChannels, numGroups, ranges);
    }
};

template <typename Input> class Appender
{
public:
    using Sample = typename Input::Sample;

    explicit Appender(std::span<SummaryStore* const> stores)
        : mStores(stores)
        , mZoom(stores[0]->zoom())
    {
    }

    void append(const Sample* frames, size_t numFrames)
    {
        const auto numOpen = static_cast<size_t>(Input::remainderOf(*mStores[0]).numSamples);
        size_t done = 0;
        if (numOpen > 0) {
            done = std::min(mZoom - numOpen, numFrames);
            addToRemainders(frames, done);
        }
        while (numFrames - done >= mZoom) {
            const size_t numGroups =
                std::min((numFrames - done) / mZoom, std::max<size_t>(1, kPieceEntries / mStores.size()));
            Input::findRanges(frames + done * mStores.size(), mZoom, mStores.size(), numGroups,
                              mRanges.data());
            addEntries(numGroups);
            done += numGroups * mZoom;
        }
        addToRemainders(frames + done * mStores.size(), numFrames - done);
    }

private:
    void addToRemainders(const Sample* frames, size_t numFrames)
    {
        if (numFrames == 0)
            return;
        for (size_t channel = 0; channel < mStores.size(); ++channel)
            mRanges[channel] = Input::remainderOf(*mStores[channel]).range;
        Input::fold(frames, numFrames, mStores.size(), mRanges.data());
        bool isFull = false;
        for (size_t channel = 0; channel < mStores.size(); ++channel) {
            auto& remainder = Input::remainderOf(*mStores[channel]);
            remainder = {remainder.numSamples + static_cast<int64_t>(numFrames), mRanges[channel]};
            isFull = remainder.numSamples == static_cast<int64_t>(mZoom);
            if (isFull)
                remainder = {0, Input::empty};
        }
        if (isFull)
            addEntries(1);
    }

    void addEntries(size_t numGroups)
    {
        std::array<int16_t, 2 * kPieceEntries> words;
        for (size_t channel = 0; channel < mStores.size(); ++channel) {
            for (size_t group = 0; group < numGroups; ++group) {
                const auto entry = entryOf(mRanges[group * mStores.size() + channel]);
                words[2 * group] = entry.min;
                words[2 * group + 1] = entry.max;
            }
            mStores[channel]->append({words.data(), 2 * numGroups});
        }
    }

    std::span<SummaryStore* const> mStores;
    size_t mZoom;
    // Ranges of all channels of the first group, of the second, ...
    std::array<SampleRange<Sample>, kPieceEntries> mRanges;
};

} // namespace

void append(SummaryStore& store, std::span<const float> samples)
{
    SummaryStore* const stores[] = {&store};
    Appender<Floats>(stores).append(samples.data(), samples.size());
}

void append(SummaryStore& store, std::span<const int16_t> samples)
{
    SummaryStore* const stores[] = {&store};
    append(stores, samples.data(), samples.size());
}

bool areInStep(std::span<SummaryStore* const> stores)
{
    return std::all_of(stores.begin(), stores.end(), [&](const SummaryStore* store) {
        return store->zoom() > 1 && store->zoom() == stores[0]->zoom() &&
               store->int16Remainder.numSamples == stores[0]->int16Remainder.numSamples;
    });
}

void append(std::span<SummaryStore* const> stores, const int16_t* frames, size_t numFrames)
{
    Appender<Integers>(stores).append(frames, numFrames);
}

void appendRaw(SummaryStore& store, std::span<const float> samples)
{
    std::array<int16_t, 2 * kPieceEntries> words;
    while (!samples.empty()) {
        const auto piece = samples.first(std::min(words.size(), samples.size()));
        std::transform(piece.begin(), piece.end(), words.begin(), rawWord);
        store.append({words.data(), piece.size()});
        samples = samples.subspan(piece.size());
    }
}

void appendRemainder(SummaryStore& store)
{
    if (store.floatRemainder.numSamples > 0) {
        const auto& range = store.floatRemainder.range;
        const std::array<int16_t, 2> entry = {narrowedWord(range.min), narrowedWord(range.max)};
        if (!range.isEmpty() && entry[0] <= entry[1])
            store.append(entry);
    } else if (store.int16Remainder.numSamples > 0) {
        const auto& range = store.int16Remainder.range;
        const std::array<int16_t, 2> entry = {std::min<int16_t>(100, range.min),
                                              std::max<int16_t>(-100, range.max)};
        store.append(entry);
    }
}

} // namespace velloria::SummaryAppender
