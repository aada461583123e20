#include "formats/mpeg4/Mpeg4SampleTable.h"

#include <algorithm>
#include <limits>

namespace velloria
{

namespace
{

// Beyond the end of every file, and far from overflowing.
constexpr int64_t kTooLong = std::numeric_limits<int64_t>::max() / 4;
constexpr size_t kSizesAt = 12;

int64_t product(uint64_t a, uint64_t b)
{
    uint64_t result = 0;
    return __builtin_mul_overflow(a, b, &result) || result > uint64_t{kTooLong}
               ? kTooLong
               : static_cast<int64_t>(result);
}

} // namespace

/// Adds up the durations of samples, run by run of equal ones.
class Mpeg4SampleTable::Durations
{
public:
    explicit Durations(const Mpeg4Box& table)
        : mTable(table)
        , mNumEntries(numEntries(table, 4, 8))
    {
    }

    int64_t next(uint64_t count)
    {
        int64_t total = 0;
        while (count > 0 && mEntry < mNumEntries) {
            const uint64_t numLeft = mTable.number32(8 + 8 * mEntry) - mNumTaken;
            const uint64_t taken = std::min(count, numLeft);
            total = std::min(kTooLong, total + product(taken, mTable.number32(12 + 8 * mEntry)));
            mNumTaken += taken;
            count -= taken;
            if (taken == numLeft) {
                ++mEntry;
                mNumTaken = 0;
            }
        }
        return total;
    }

private:
    Mpeg4Box mTable;
    size_t mNumEntries;
    size_t mEntry = 0;
    uint64_t mNumTaken = 0;
};

Mpeg4SampleTable::Mpeg4SampleTable(const Mpeg4Box& track)
    : mTables(track.descendant({fourCharCode("mdia"), fourCharCode("minf"), fourCharCode("stbl")}))
    , mSizes(box(fourCharCode("stsz")))
{
    if (mSizes.isEmpty()) {
        mSizes = box(fourCharCode("stz2"));
        mBitsPerSize = mSizes.number(7, 1);
        if (mBitsPerSize != 4 && mBitsPerSize != 8 && mBitsPerSize != 16)
            mSizes = Mpeg4Box(std::span<const uint8_t>());
    } else if (mSizes.number32(4) == 0) {
        mBitsPerSize = 32;
    } else {
        findEqualSizes();
    }
}

/// QuickTime counts a frame of sound as a sample, whose size the description tells where the table does not.
void Mpeg4SampleTable::findEqualSizes()
{
    mBytesPerUnit = mSizes.number32(4);
    const Mpeg4Box description = box(fourCharCode("stsd"));
    const Mpeg4Box durations = box(fourCharCode("stts"));
    const bool countsFrames = !box(fourCharCode("stts")).isEmpty() && durations.number32(12) == 1;
    const uint64_t version = description.number(24, 2);
    if (!countsFrames)
        return;
    if (version == 1 && description.number32(44) > 0 && description.number32(52) > 0) {
        mSamplesPerUnit = description.number32(44);
        mBytesPerUnit = description.number32(52);
    } else if (version == 0 && mBytesPerUnit == 1) {
        mBytesPerUnit = std::max<uint64_t>(1, description.number(32, 2) * description.number(34, 2) / 8);
    }
}

size_t Mpeg4SampleTable::numEntries(const Mpeg4Box& table, size_t countAt, size_t entrySize)
{
    const size_t room = table.size() > countAt + 4 ? (table.size() - countAt - 4) / entrySize : 0;
    return std::min<size_t>(table.number32(countAt), room);
}

uint64_t Mpeg4SampleTable::numSamples() const
{
    if (mBitsPerSize == 0)
        return mSizes.number32(8);
    const size_t room = mSizes.size() > kSizesAt ? (mSizes.size() - kSizesAt) * 8 / mBitsPerSize : 0;
    return std::min<uint64_t>(mSizes.number32(8), room);
}

uint32_t Mpeg4SampleTable::sizeOf(uint64_t sample) const
{
    if (mBitsPerSize == 0)
        return static_cast<uint32_t>(mBytesPerUnit);
    if (mBitsPerSize == 4) {
        const uint64_t pair = mSizes.number(kSizesAt + sample / 2, 1);
        return static_cast<uint32_t>(sample % 2 == 0 ? pair >> 4 : pair & 15);
    }
    const size_t numBytes = mBitsPerSize / 8;
    return static_cast<uint32_t>(mSizes.number(kSizesAt + numBytes * sample, numBytes));
}

int64_t Mpeg4SampleTable::bytesOf(uint64_t firstSample, uint64_t count) const
{
    if (mBitsPerSize == 0)
        return product(count / mSamplesPerUnit, mBytesPerUnit);
    int64_t total = 0;
    for (uint64_t i = 0; i < count; ++i)
        total += sizeOf(firstSample + i);
    return total;
}

std::vector<int64_t> Mpeg4SampleTable::chunkOffsets() const
{
    const bool isWide = hasWideOffsets();
    const Mpeg4Box table = box(isWide ? fourCharCode("co64") : fourCharCode("stco"));
    const size_t width = isWide ? 8 : 4;
    std::vector<int64_t> all(numEntries(table, 4, width));
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<int64_t>(std::min(table.number(8 + width * i, width), uint64_t{kTooLong}));
    return all;
}

std::vector<Mpeg4Run> Mpeg4SampleTable::chunks() const
{
    const std::vector<int64_t> offsets = chunkOffsets();
    const Mpeg4Box counts = box(fourCharCode("stsc"));
    const size_t numCounts = numEntries(counts, 4, 12);
    Durations durations(box(fourCharCode("stts")));
    std::vector<Mpeg4Run> all(offsets.size());
    uint64_t sample = 0;
    size_t entry = 0;
    for (size_t chunk = 0; chunk < offsets.size(); ++chunk) {
        while (entry + 1 < numCounts && counts.number32(8 + 12 * (entry + 1)) <= chunk + 1)
            ++entry;
        const uint64_t told = numCounts > 0 ? counts.number32(12 + 12 * entry) : 1;
        const uint64_t count = std::min(told, numSamples() - sample);
        all[chunk] = {{offsets[chunk], bytesOf(sample, count)}, static_cast<int64_t>(count), 0};
        all[chunk].duration = durations.next(count);
        sample += count;
    }
    return all;
}

std::vector<Mpeg4SampleTable::Sample> Mpeg4SampleTable::samples(size_t most) const
{
    Durations durations(box(fourCharCode("stts")));
    std::vector<Sample> all;
    int64_t time = 0;
    for (const Mpeg4Run& chunk : chunks()) {
        int64_t offset = chunk.bytes.offset;
        for (int64_t i = 0; i < chunk.numSamples && all.size() < most; ++i) {
            const int64_t size = sizeOf(all.size());
            all.push_back({{offset, size}, time});
            offset += size;
            time = std::min(kTooLong, time + durations.next(1));
        }
    }
    return all;
}

} // namespace velloria
