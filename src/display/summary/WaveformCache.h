#pragma once

#include <QExplicitlySharedDataPointer>
#include <cstdint>
#include <span>
#include <vector>

namespace velloria
{

class SummaryStore;

/// The summary of a clip's samples that drawing uses: one 16-bit minimum/maximum pair for every 512 frames
/// (zoom 512), or every frame as one 16-bit sample (zoom 1, raw mode). One thread appends; any thread asks.
/// This object is a view: a copy shows the same entries and what is appended later through either; a summary
/// cut out of another shares its entries, so cutting costs no copy, and a part that is still being filled
/// grows with the whole. Appending to a cut-out part first gives it entries of its own.
class WaveformCache
{
public:
    static constexpr uint32_t clipZoom = 512;

    explicit WaveformCache(uint32_t zoom = clipZoom);

    /// A summary that never has entries and takes no memory, for clips that need none.
    static WaveformCache none();

    WaveformCache(const WaveformCache& other);
    WaveformCache(WaveformCache&& other) noexcept;
    WaveformCache& operator=(WaveformCache other) noexcept;
    ~WaveformCache();

    uint32_t zoom() const;

    /// Entry count.
    int64_t length() const;

    /// Adds samples of one channel; what does not fill an entry is kept for the next call.
    void appendFloatData(std::span<const float> samples);
    void appendInt16Data(std::span<const int16_t> samples);
    /// The same for every channel of interleaved 16-bit frames in one pass: caches[c] gets channel c.
    static void appendInterleavedInt16(std::span<const int16_t> samples,
                                       std::span<WaveformCache* const> caches);

    /// Turns the kept remainder into a last, partial entry; called when the input ends. The last entry of
    /// 16-bit input spans at least -100 .. 100.
    void finalizeCache();
    bool isFinal() const;

    /// Minimum and maximum of the entries that touch a range, as fractions of full scale; false when the
    /// range does not start inside the summary. (100, -100) when it holds no entry.
    bool getMin(double& min, double& max, int64_t offset, int64_t numFrames) const;

    /// (min, max) pairs, one a column of `stride` frames; (0, 0) where the summary does not reach.
    std::vector<float> minMaxDataAtOffset(double offset, double numFrames, double stride) const;

    /// The entries of a range, from the nearest entry on.
    WaveformCache subdataWithOffset(int64_t offset, int64_t numFrames) const;

    /// Replaces the entries (native 16-bit values); parts cut out before keep the old ones.
    void setData(std::vector<int16_t> data);
    std::vector<int16_t> data() const;

private:
    explicit WaveformCache(const QExplicitlySharedDataPointer<SummaryStore>& store);
    SummaryStore& storeForAppending();
    int64_t endEntry() const;
    bool isWhole() const { return mFirstEntry == 0 && mMaxEntries == kNoLimit; }

    // A long undo history holds a great many views, one in each clip. 32 bits count the entries of 10^12
    // frames; a view's start beyond that is cut off there.
    static constexpr uint32_t kNoLimit = UINT32_MAX;
    QExplicitlySharedDataPointer<SummaryStore> mStore;
    uint32_t mFirstEntry = 0;
    uint32_t mMaxEntries = kNoLimit;
};

} // namespace velloria
