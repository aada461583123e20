#pragma once

#include <QByteArray>
#include <cstdint>
#include <optional>
#include <vector>

namespace velloria
{

// The chunks of a WAVE file that point at frames of its sound, as "Multimedia Programming Interface and Data
// Specifications" (IBM and Microsoft, 1991) and its later additions lay them out. All numbers are
// little-endian. What stands behind the entries, and a count that is not true, stay as they are.

/// One point of the chunk "cue ". Programs have written its place into either of two fields.
struct CuePoint {
    uint32_t ident = 0;
    /// In the order of playing; most programs repeat the place in the sound.
    uint32_t playPosition = 0;
    /// Four characters: the chunk with the sound.
    uint32_t chunkIdent = 0x61746164;
    uint32_t chunkStart = 0;
    /// Of compressed sound the byte at which the block with the point begins.
    uint32_t blockStart = 0;
    /// Frames from the start of the sound, or of that block.
    uint32_t sampleOffset = 0;
};

/// The payload of "cue ": a 32-bit count and points.
class CuePointList
{
public:
    static constexpr qsizetype headerLength = 4;
    static constexpr qsizetype pointLength = 24;
    static constexpr size_t mostPoints = 100'000;

    CuePointList() = default;
    /// Nothing for a payload without a count, or with more points than any person sets. `isLinear` says that
    /// the sound has no blocks.
    static std::optional<CuePointList> ofPayload(const QByteArray& payload, bool isLinear);

    std::vector<CuePoint> points;

    /// True where the count and the points that are there agree.
    bool isWhole() const { return mNumTold == mNumRead; }
    int64_t positionOf(const CuePoint& point) const;
    /// Positions beyond 32 bits become the last one that fits.
    void setPosition(CuePoint& point, int64_t position) const;
    CuePoint newPoint(uint32_t ident, int64_t position) const;

    QByteArray payload() const;
    /// Bytes behind the points.
    qsizetype restLength() const { return mRest.size(); }

private:
    bool usesPlayPosition(const CuePoint& point) const;

    uint32_t mNumTold = 0;
    uint32_t mNumRead = 0;
    bool mIsLinear = true;
    /// The other field is 0 in all of them.
    bool mHasPlayPositionsOnly = false;
    QByteArray mRest;
};

/// One loop of the chunk "smpl".
struct SamplerLoop {
    /// That of a cue point, or of a text, which names the loop then.
    uint32_t ident = 0;
    uint32_t type = 0;
    uint32_t start = 0;
    /// The last frame that is played.
    uint32_t end = 0;
    uint32_t fraction = 0;
    uint32_t playCount = 0;

    bool isValid() const { return start <= end; }
};

/// The payload of "smpl": nine numbers of 32 bits about the instrument, the last but one of which counts the
/// loops, then these and the data of a sampler.
class SamplerChunk
{
public:
    static constexpr qsizetype headerLength = 36;
    static constexpr qsizetype loopLength = 24;

    SamplerChunk() = default;
    /// Nothing for a payload that ends within the numbers.
    static std::optional<SamplerChunk> ofPayload(const QByteArray& payload);

    std::vector<SamplerLoop> loops;

    /// Makes the length of a frame in nanoseconds that of the new rate, where it was that of the old one.
    void changeSampleRate(double before, double now);
    QByteArray payload() const;

private:
    QByteArray mHeader;
    uint32_t mNumRead = 0;
    QByteArray mRest;
};

} // namespace velloria
