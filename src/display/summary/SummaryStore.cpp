#include "display/summary/SummaryStore.h"

#include <algorithm>
#include <bit>

namespace velloria
{

SummaryStore::SummaryStore(uint32_t zoom)
    : mZoom(zoom)
    , mWordsPerEntry(zoom == 1 ? 1 : 2)
{
}

SummaryStore::Place SummaryStore::placeOf(int64_t entry)
{
    const auto shifted = static_cast<uint64_t>(entry + kFirstChunkEntries);
    constexpr int kFirstWidth = std::bit_width(static_cast<uint64_t>(kFirstChunkEntries));
    const int chunk = std::bit_width(shifted) - kFirstWidth;
    const int64_t chunkSize = kFirstChunkEntries << chunk;
    return {chunk, static_cast<int64_t>(shifted) - chunkSize, chunkSize};
}

SummaryStore::Chunk& SummaryStore::chunkForWriting(const Place& place)
{
    Chunk& chunk = mChunks[static_cast<size_t>(place.chunk)];
    if (!chunk.entries) {
        // Left uninitialised: the part of a large chunk that is never reached then costs no memory.
        const auto numWords = static_cast<size_t>(place.chunkSize * mWordsPerEntry);
        chunk.entries = std::make_unique_for_overwrite<int16_t[]>(numWords);
        chunk.groups =
            std::make_unique_for_overwrite<int16_t[]>(static_cast<size_t>(place.chunkSize / kGroup * 2));
    }
    return chunk;
}

void SummaryStore::append(std::span<const int16_t> words)
{
    const int64_t first = mNumEntries.load(std::memory_order_relaxed);
    const int64_t end = first + static_cast<int64_t>(words.size()) / mWordsPerEntry;
    const int16_t* source = words.data();
    for (int64_t entry = first; entry < end;) {
        const Place place = placeOf(entry);
        const int64_t count = std::min(end - entry, place.chunkSize - place.index);
        Chunk& chunk = chunkForWriting(place);
        std::copy_n(source, count * mWordsPerEntry, chunk.entries.get() + place.index * mWordsPerEntry);
        source += count * mWordsPerEntry;
        entry += count;
    }
    summariseGroups(first, end);
    // Release: whoever sees the new count sees the entries, their groups and the chunks that hold them.
    mNumEntries.store(end, std::memory_order_release);
}

void SummaryStore::summariseGroups(int64_t firstEntry, int64_t endEntry)
{
    for (int64_t group = firstEntry / kGroup; (group + 1) * kGroup <= endEntry; ++group) {
        const Place place = placeOf(group * kGroup);
        Chunk& chunk = mChunks[static_cast<size_t>(place.chunk)];
        const auto range = rangeOfWords(chunk.entries.get() + place.index * mWordsPerEntry, kGroup);
        int16_t* pair = chunk.groups.get() + place.index / kGroup * 2;
        pair[0] = range.min;
        pair[1] = range.max;
    }
}

SampleRange<int16_t> SummaryStore::rangeOfWords(const int16_t* words, int64_t numEntries) const
{
    const auto count = static_cast<size_t>(numEntries);
    return mWordsPerEntry == 1 ? SummaryKernels::range(words, count)
                               : SummaryKernels::rangeOfPairs(words, count);
}

SampleRange<int16_t> SummaryStore::rangeInChunk(const Chunk& chunk, int64_t first, int64_t end) const
{
    const int16_t* entries = chunk.entries.get();
    const int64_t firstGroup = (first + kGroup - 1) / kGroup;
    const int64_t endGroup = end / kGroup;
    if (firstGroup >= endGroup)
        return rangeOfWords(entries + first * mWordsPerEntry, end - first);
    auto range = rangeOfWords(entries + first * mWordsPerEntry, firstGroup * kGroup - first);
    range.fold(SummaryKernels::rangeOfPairs(chunk.groups.get() + firstGroup * 2,
                                            static_cast<size_t>(endGroup - firstGroup)));
    range.fold(rangeOfWords(entries + endGroup * kGroup * mWordsPerEntry, end - endGroup * kGroup));
    return range;
}

SampleRange<int16_t> SummaryStore::range(int64_t first, int64_t end) const
{
    SampleRange<int16_t> range = kEmptyInt16Range;
    for (int64_t entry = first; entry < end;) {
        const Place place = placeOf(entry);
        const int64_t count = std::min(end - entry, place.chunkSize - place.index);
        range.fold(rangeInChunk(mChunks[static_cast<size_t>(place.chunk)], place.index, place.index + count));
        entry += count;
    }
    return range;
}

std::vector<int16_t> SummaryStore::copy(int64_t first, int64_t end) const
{
    std::vector<int16_t> words;
    words.reserve(static_cast<size_t>(std::max<int64_t>(0, end - first) * mWordsPerEntry));
    for (int64_t entry = first; entry < end;) {
        const Place place = placeOf(entry);
        const int64_t count = std::min(end - entry, place.chunkSize - place.index);
        const int16_t* source = mChunks[static_cast<size_t>(place.chunk)].entries.get();
        words.insert(words.end(), source + place.index * mWordsPerEntry,
                     source + (place.index + count) * mWordsPerEntry);
        entry += count;
    }
    return words;
}

} // namespace velloria
