#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/codec/Mpeg4Box.h"

namespace velloria
{

/// Samples of a track that lie side by side in the file: a chunk of its tables, or a run of a movie fragment.
struct Mpeg4Run {
    ByteRange bytes;
    int64_t numSamples = 0;
    /// In units of the track's media.
    int64_t duration = 0;
};

/// The tables of a track that say where its samples lie and how long they last. Damaged tables give fewer
/// samples, never more than the tables have room for.
class Mpeg4SampleTable
{
public:
    struct Sample {
        ByteRange bytes;
        /// In units of the track's media.
        int64_t time = 0;
    };

    /// Of a 'trak' box.
    explicit Mpeg4SampleTable(const Mpeg4Box& track);

    /// One for each entry of the chunks' table, in its order; of no samples for a chunk that has none.
    std::vector<Mpeg4Run> chunks() const;
    /// The first samples of the track one by one.
    std::vector<Sample> samples(size_t most) const;
    uint64_t numSamples() const;
    /// Whether the chunks' table has 64 bits for each.
    bool hasWideOffsets() const { return box(fourCharCode("stco")).isEmpty(); }

    /// How many entries of a size a box holds behind its count.
    static size_t numEntries(const Mpeg4Box& table, size_t countAt, size_t entrySize);

private:
    class Durations;

    Mpeg4Box box(FourCharCode type) const { return mTables.descendant({type}); }
    std::vector<int64_t> chunkOffsets() const;
    uint32_t sizeOf(uint64_t sample) const;
    int64_t bytesOf(uint64_t firstSample, uint64_t count) const;
    void findEqualSizes();

    Mpeg4Box mTables;
    Mpeg4Box mSizes;
    /// Bits of an entry of mSizes; 0 where all samples are of one size.
    size_t mBitsPerSize = 0;
    /// Where all samples are of one size: bytes of `mSamplesPerUnit` samples.
    uint64_t mBytesPerUnit = 0;
    uint64_t mSamplesPerUnit = 1;
};

} // namespace velloria
