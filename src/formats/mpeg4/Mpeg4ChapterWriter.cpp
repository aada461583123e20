#include "formats/mpeg4/Mpeg4Chapters.h"
#include "formats/streams/BigEndianOutputStream.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace velloria::Mpeg4Chapters
{

namespace
{

constexpr uint32_t kIdentity = 0x10000;
constexpr uint32_t kIdentityLast = 0x40000000;
constexpr int64_t kLongest32 = std::numeric_limits<uint32_t>::max();

std::vector<AudioMarkerPtr> sorted(const MarkerList& markers)
{
    std::vector<AudioMarkerPtr> all = markers ? *markers : std::vector<AudioMarkerPtr>();
    std::stable_sort(all.begin(), all.end(), [](const AudioMarkerPtr& a, const AudioMarkerPtr& b) {
        return a->position() < b->position();
    });
    return all;
}

/// As much of a text as fits so many bytes, whole characters only.
QByteArray shortened(const QString& text, qsizetype maxBytes)
{
    QByteArray bytes = text.toUtf8();
    if (bytes.size() <= maxBytes)
        return bytes;
    qsizetype end = maxBytes;
    while (end > 0 && (static_cast<uint8_t>(bytes[end]) & 0xC0) == 0x80)
        --end;
    return bytes.first(end);
}

void writeMatrix(BigEndianOutputStream& out)
{
    for (int i = 0; i < 9; ++i)
        out.writeUInt32(i == 8 ? kIdentityLast : i % 4 == 0 ? kIdentity : 0);
}

/// A name as a sample: its length, the text, and a word that says that it is UTF-8.
QByteArray sampleOf(const QString& name)
{
    const QByteArray utf8 = shortened(name, 0xFFFF);
    BigEndianOutputStream out;
    out.writeUInt16(static_cast<uint16_t>(utf8.size()));
    BigEndianOutputStream encoding;
    encoding.writeUInt32(0x100);
    return out.data() + utf8 + mpeg4Box(fourCharCode("encd"), encoding.data());
}

/// How text of the track is drawn, which for chapters is not at all (QuickTime's text sample description).
QByteArray sampleDescription()
{
    BigEndianOutputStream out;
    out.writeUInt32(0);
    out.writeUInt16(0);
    out.writeUInt16(1); // data reference
    out.writeUInt32(1); // do not scale
    out.writeUInt32(0); // justification
    for (int i = 0; i < 3; ++i)
        out.writeUInt16(0); // background
    for (int i = 0; i < 4; ++i)
        out.writeUInt16(0); // box
    out.writeSInt64(0);
    out.writeUInt32(0); // font and face
    out.writeUInt8(0);
    out.writeUInt16(0);
    for (int i = 0; i < 3; ++i)
        out.writeUInt16(0xFFFF); // foreground
    out.writeUInt8(0);           // font name
    BigEndianOutputStream table;
    table.writeUInt32(0);
    table.writeUInt32(1);
    return mpeg4Box(fourCharCode("stsd"), table.data() + mpeg4Box(fourCharCode("text"), out.data()));
}

QByteArray genericMediaHeader()
{
    BigEndianOutputStream general;
    general.writeUInt32(0);
    general.writeUInt16(0x40); // copies pixels with dither
    for (int i = 0; i < 3; ++i)
        general.writeUInt16(0x8000);
    general.writeUInt32(0);
    BigEndianOutputStream text;
    writeMatrix(text);
    return mpeg4Box(fourCharCode("gmhd"), mpeg4Box(fourCharCode("gmin"), general.data()) +
                                              mpeg4Box(fourCharCode("text"), text.data()));
}

/// The samples are in this very file.
QByteArray dataInformation()
{
    BigEndianOutputStream self;
    self.writeUInt32(1);
    BigEndianOutputStream references;
    references.writeUInt32(0);
    references.writeUInt32(1);
    return mpeg4Box(
        fourCharCode("dinf"),
        mpeg4Box(fourCharCode("dref"), references.data() + mpeg4Box(fourCharCode("url "), self.data())));
}

QByteArray handler()
{
    BigEndianOutputStream out;
    out.writeUInt32(0);
    out.writeUInt32(0);
    out.writeUInt32(fourCharCode("text"));
    for (int i = 0; i < 3; ++i)
        out.writeUInt32(0);
    return mpeg4Box(fourCharCode("hdlr"), out.data() + QByteArray("Chapters", 9));
}

/// A time in 32 bits in a box of version 0, in 64 in one of version 1.
void writeTime(BigEndianOutputStream& out, int64_t time, bool isWide)
{
    if (isWide)
        out.writeSInt64(time);
    else
        out.writeUInt32(static_cast<uint32_t>(time));
}

/// Version, flags, and the dates of making and changing, which stay open.
BigEndianOutputStream versionedHeader(bool isWide, uint32_t flags)
{
    BigEndianOutputStream out;
    out.writeUInt32((isWide ? 1U << 24 : 0U) | flags);
    writeTime(out, 0, isWide);
    writeTime(out, 0, isWide);
    return out;
}

} // namespace

Track::Track(const MarkerList& markers, uint32_t sampleRate, int64_t numFrames, int64_t startFrames)
    : mTimescale(sampleRate)
    , mMovieTimescale(sampleRate)
{
    const std::vector<AudioMarkerPtr> all = sorted(markers);
    const auto positionOf = [&](size_t index) {
        const int64_t end = all.empty() ? 0 : std::max<int64_t>(0, all.back()->position());
        // The last chapter lasts for a moment at least, as readers skip samples that do not.
        return startFrames + (index < all.size() ? std::max<int64_t>(0, all[index]->position())
                                                 : std::max(numFrames, end + 1));
    };
    mStart = positionOf(0);
    for (size_t i = 0; i < all.size(); ++i) {
        const QByteArray sample = sampleOf(all[i]->name());
        mSizes.push_back(static_cast<uint32_t>(sample.size()));
        mSamples += sample;
        mDurations.push_back(static_cast<uint32_t>(std::min(positionOf(i + 1) - positionOf(i), kLongest32)));
        mDuration += mDurations.back();
    }
    // What stands in front of the chapters is no part of the media; some readers take the length of the media
    // for the end of the last chapter all the same. It is longer by as much, and the edits leave that out.
    if (!mDurations.empty())
        mDurations.back() = static_cast<uint32_t>(std::min(mDurations.back() + mStart, kLongest32));
    mMediaDuration = std::accumulate(mDurations.begin(), mDurations.end(), int64_t{0});
}

void Track::setMovieTimescale(uint32_t timescale)
{
    mMovieTimescale = timescale;
    // Readers round where the edit ends to a tick of the track.
    const auto twice = static_cast<__int128>(inMovieTime(mStart, false)) * mTimescale * 2 + mMovieTimescale;
    const int64_t early = mStart - static_cast<int64_t>(twice / (2 * static_cast<__int128>(mMovieTimescale)));
    if (mDurations.empty() || early <= 0 || mDurations.front() + early > kLongest32)
        return;
    mDurations.front() += static_cast<uint32_t>(early);
    mDuration += early;
    mMediaDuration += early;
}

QByteArray Track::box(uint32_t trackID, int64_t samplesOffset) const
{
    return mpeg4Box(fourCharCode("trak"), header(trackID) + edits() + media(samplesOffset));
}

QByteArray Track::header(uint32_t trackID) const
{
    constexpr uint32_t inMovieOnly = 2;
    const int64_t end = inMovieTime(mStart + mDuration, true);
    const bool isWide = end > kLongest32;
    BigEndianOutputStream out = versionedHeader(isWide, inMovieOnly);
    out.writeUInt32(trackID);
    out.writeUInt32(0);
    writeTime(out, end, isWide);
    out.writeSInt64(0);
    out.writeSInt64(0); // layer, group, volume
    writeMatrix(out);
    out.writeSInt64(0); // width and height
    return mpeg4Box(fourCharCode("tkhd"), out.data());
}

int64_t Track::inMovieTime(int64_t time, bool roundsUp) const
{
    const auto scaled = static_cast<__int128>(time) * mMovieTimescale + (roundsUp ? mTimescale - 1 : 0);
    return static_cast<int64_t>(scaled / mTimescale);
}

/// Nothing up to the first chapter, then all of them. Where the movie's clock is coarser than the track's own
/// the first chapter begins with the tick before, and lasts longer by as much, so that all others are exact.
QByteArray Track::edits() const
{
    if (mStart == 0)
        return {};
    BigEndianOutputStream out;
    out.writeUInt32(1U << 24);
    out.writeUInt32(2);
    out.writeSInt64(inMovieTime(mStart, false));
    out.writeSInt64(-1);
    out.writeUInt32(kIdentity);
    out.writeSInt64(inMovieTime(mDuration, true));
    out.writeSInt64(0);
    out.writeUInt32(kIdentity);
    return mpeg4Box(fourCharCode("edts"), mpeg4Box(fourCharCode("elst"), out.data()));
}

QByteArray Track::media(int64_t samplesOffset) const
{
    constexpr uint16_t undetermined = 0x55C4;
    const bool isWide = mMediaDuration > kLongest32;
    BigEndianOutputStream out = versionedHeader(isWide, 0);
    out.writeUInt32(mTimescale);
    writeTime(out, mMediaDuration, isWide);
    out.writeUInt16(undetermined);
    out.writeUInt16(0);
    const QByteArray information =
        mpeg4Box(fourCharCode("minf"), genericMediaHeader() + dataInformation() + sampleTable(samplesOffset));
    return mpeg4Box(fourCharCode("mdia"),
                    mpeg4Box(fourCharCode("mdhd"), out.data()) + handler() + information);
}

QByteArray Track::sampleTable(int64_t samplesOffset) const
{
    const auto count = static_cast<uint32_t>(mSizes.size());
    BigEndianOutputStream times;
    BigEndianOutputStream sizes;
    times.writeUInt32(0);
    times.writeUInt32(count);
    sizes.writeUInt32(0);
    sizes.writeUInt32(0);
    sizes.writeUInt32(count);
    for (uint32_t i = 0; i < count; ++i) {
        times.writeUInt32(1);
        times.writeUInt32(mDurations[i]);
        sizes.writeUInt32(mSizes[i]);
    }
    BigEndianOutputStream chunks;
    chunks.writeUInt32(0);
    chunks.writeUInt32(1);
    chunks.writeUInt32(1);
    chunks.writeUInt32(count);
    chunks.writeUInt32(1);
    BigEndianOutputStream offsets;
    offsets.writeUInt32(0);
    offsets.writeUInt32(1);
    offsets.writeSInt64(samplesOffset);
    return mpeg4Box(fourCharCode("stbl"), sampleDescription() + mpeg4Box(fourCharCode("stts"), times.data()) +
                                              mpeg4Box(fourCharCode("stsc"), chunks.data()) +
                                              mpeg4Box(fourCharCode("stsz"), sizes.data()) +
                                              mpeg4Box(fourCharCode("co64"), offsets.data()));
}

QByteArray list(const MarkerList& markers, double sampleRate, int64_t startFrames)
{
    constexpr size_t mostChapters = 255;
    constexpr double unitsPerSecond = 1e7;
    std::vector<AudioMarkerPtr> all = sorted(markers);
    all.resize(std::min(all.size(), mostChapters));
    BigEndianOutputStream out;
    out.writeUInt32(1U << 24);
    out.writeUInt32(0);
    out.writeUInt8(static_cast<uint8_t>(all.size()));
    QByteArray bytes = out.data();
    for (const AudioMarkerPtr& marker : all) {
        const QByteArray name = shortened(marker->name(), 255);
        const int64_t position = startFrames + std::max<int64_t>(0, marker->position());
        const double seconds = static_cast<double>(position) / sampleRate;
        BigEndianOutputStream entry;
        entry.writeSInt64(std::llround(seconds * unitsPerSecond));
        entry.writeUInt8(static_cast<uint8_t>(name.size()));
        bytes += entry.data() + name;
    }
    return mpeg4Box(fourCharCode("chpl"), bytes);
}

} // namespace velloria::Mpeg4Chapters
