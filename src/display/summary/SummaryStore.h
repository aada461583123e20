#pragma once

#include "display/summary/SummaryKernels.h"

#include <QSharedData>
#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace velloria
{

/// The entries of a summary, shared by all views cut out of it: a sequence that grows at its end, one 16-bit
/// word an entry in raw mode, else a (minimum, maximum) pair. One thread appends; any thread asks, without a
/// lock: entries never move, and the entry count is published after them.
class SummaryStore : public QSharedData
{
public:
    explicit SummaryStore(uint32_t zoom);

    uint32_t zoom() const { return mZoom; }
    int64_t wordsPerEntry() const { return mWordsPerEntry; }
    int64_t numEntries() const { return mNumEntries.load(std::memory_order_acquire); }
    bool isFinal() const { return mIsFinal.load(std::memory_order_acquire); }

    /// Appending thread only. A number of words that is no multiple of wordsPerEntry() is rounded down.
    void append(std::span<const int16_t> words);
    void setFinal() { mIsFinal.store(true, std::memory_order_release); }

    /// Extremes of entries first .. end - 1, which must exist. Takes time in proportion to a 64th of them.
    SampleRange<int16_t> range(int64_t first, int64_t end) const;

    std::vector<int16_t> copy(int64_t first, int64_t end) const;

    /// Samples after the last entry, fewer than zoom() of them: their number and extremes. Appending thread
    /// only.
    template <typename Sample> struct Remainder {
        int64_t numSamples = 0;
        SampleRange<Sample> range;
    };
    Remainder<float> floatRemainder = {0, kEmptyFloatRange};
    Remainder<int16_t> int16Remainder = {0, kEmptyInt16Range};

private:
    // Chunk k holds kFirstChunkEntries << k entries, so that a short summary is small and a long one needs
    // few chunks; every chunk begins at a multiple of kGroup.
    static constexpr int64_t kFirstChunkEntries = 256;
    static constexpr int kNumChunks = 26;
    // Entries summarised by one pair of the coarse level.
    static constexpr int64_t kGroup = 64;

    struct Chunk {
        std::unique_ptr<int16_t[]> entries;
        std::unique_ptr<int16_t[]> groups;
    };
    struct Place {
        int chunk;
        int64_t index;
        int64_t chunkSize;
    };

    static Place placeOf(int64_t entry);
    Chunk& chunkForWriting(const Place& place);
    void summariseGroups(int64_t firstEntry, int64_t endEntry);
    SampleRange<int16_t> rangeOfWords(const int16_t* words, int64_t numEntries) const;
    SampleRange<int16_t> rangeInChunk(const Chunk& chunk, int64_t first, int64_t end) const;

    const uint32_t mZoom;
    const int64_t mWordsPerEntry;
    std::atomic<int64_t> mNumEntries{0};
    std::atomic<bool> mIsFinal{false};
    std::array<Chunk, kNumChunks> mChunks;
};

} // namespace velloria
