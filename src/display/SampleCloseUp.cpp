#include "display/SampleCloseUp.h"

#include "document/clips/FrameNumbers.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace velloria
{

namespace
{

constexpr size_t kReadNumFrames = 16384;
// As AudioTrack: more columns than any screen has.
constexpr double kMaxColumns = 16.0 * 1024 * 1024;
// Beyond this many frames a margin would cost more memory than scrolling without it costs time.
constexpr int64_t kMaxFramesWithMargins = int64_t{1} << 23;

} // namespace

/// A run of one track's samples. Filled by one job, then only read.
struct SampleCloseUp::Stretch {
    AudioTrackPtr track;
    int64_t trackLength = 0;
    Range range;
    WaveformCache samples{1};
    /// Set when nobody wants it any more. Relaxed: it carries no other data.
    std::atomic<bool> isUnwanted{false};

    void read(const AudioTrack& source)
    {
        std::vector<float> block(static_cast<size_t>(
            std::clamp<int64_t>(range.end - range.start, 0, static_cast<int64_t>(kReadNumFrames))));
        for (int64_t frame = range.start; frame < range.end && !isUnwanted.load(std::memory_order_relaxed);) {
            const auto count = std::min(block.size(), static_cast<size_t>(range.end - frame));
            source.readSamples(frame, std::span(block).first(count));
            samples.appendFloatData(std::span(block).first(count));
            frame += static_cast<int64_t>(count);
        }
    }
};

struct SampleCloseUp::Link {
    SampleCloseUp* closeUp = nullptr;
};

SampleCloseUp::SampleCloseUp(Handler didRead)
    : mDidRead(std::move(didRead))
    , mLink(std::make_shared<Link>())
    , mQueue(QStringLiteral("org.velloria.Velloria.SampleCloseUp"))
{
    mLink->closeUp = this;
}

SampleCloseUp::~SampleCloseUp()
{
    mLink->closeUp = nullptr;
    if (mBeingRead)
        mBeingRead->isUnwanted = true;
}

SampleCloseUp::Range SampleCloseUp::rangeOfColumns(const AudioTrack& track, double offset, double numFrames,
                                                   double stride)
{
    const double numColumns = std::ceil(numFrames / stride);
    if (!(numColumns >= 1.0 && numColumns <= kMaxColumns))
        return {};
    const int64_t length = track.length();
    Range range;
    range.start = std::clamp<int64_t>(roundedFrame(offset), 0, length);
    // A column spans at least one frame, however short it is.
    range.end = std::clamp<int64_t>(roundedFrame(offset + numColumns * stride) + 1, range.start, length);
    return range;
}

SampleCloseUp::Range SampleCloseUp::withMargins(const Range& range, const AudioTrack& track)
{
    const int64_t length = range.end - range.start;
    const int64_t margin = length <= kMaxFramesWithMargins ? length / 2 : 0;
    return {std::max<int64_t>(0, range.start - margin), std::min(track.length(), range.end + margin)};
}

FloatBuffer SampleCloseUp::columns(const Stretch& stretch, double offset, double numFrames, double stride)
{
    const auto numColumns = static_cast<size_t>(std::ceil(numFrames / stride));
    FloatBuffer pairs(2 * numColumns);
    for (size_t column = 0; column < numColumns; ++column) {
        const double position = offset + static_cast<double>(column) * stride;
        const int64_t first = roundedFrame(position);
        const int64_t count = std::max<int64_t>(1, roundedFrame(position + stride) - first);
        double min = 1.0;
        double max = -1.0;
        if (first >= stretch.trackLength)
            min = max = 0.0;
        else if (first >= stretch.range.start)
            stretch.samples.getMin(min, max, first - stretch.range.start, count);
        pairs[2 * column] = static_cast<float>(min);
        pairs[2 * column + 1] = static_cast<float>(max);
    }
    return pairs;
}

FloatBuffer SampleCloseUp::minMaxDataOfTrack(const AudioTrack& track, double offset, double numFrames,
                                             double stride)
{
    const double numColumns = std::ceil(numFrames / stride);
    if (!(numColumns >= 1.0 && numColumns <= kMaxColumns))
        return {};
    Stretch stretch;
    stretch.trackLength = track.length();
    stretch.range = rangeOfColumns(track, offset, numFrames, stride);
    stretch.read(track);
    return columns(stretch, offset, numFrames, stride);
}

std::optional<FloatBuffer> SampleCloseUp::minMaxDataAtOffset(const AudioTrackPtr& track, double offset,
                                                             double numFrames, double stride)
{
    const double numColumns = std::ceil(numFrames / stride);
    if (!track || !(numColumns >= 1.0 && numColumns <= kMaxColumns))
        return FloatBuffer();
    const Range needed = rangeOfColumns(*track, offset, numFrames, stride);
    if (!mKept || mKept->track != track || !mKept->range.contains(needed)) {
        request(track, needed);
        return std::nullopt;
    }
    return columns(*mKept, offset, numFrames, stride);
}

void SampleCloseUp::request(const AudioTrackPtr& track, const Range& needed)
{
    mWantedTrack = track;
    mWanted = needed;
    if (!mBeingRead)
        startReading(track, withMargins(needed, *track));
    else if (mBeingRead->track != track || !mBeingRead->range.contains(needed))
        mBeingRead->isUnwanted = true;
}

void SampleCloseUp::startReading(const AudioTrackPtr& track, const Range& range)
{
    mBeingRead = std::make_shared<Stretch>();
    mBeingRead->track = track;
    mBeingRead->trackLength = track->length();
    mBeingRead->range = range;
    mQueue.async([stretch = mBeingRead, link = mLink] {
        stretch->read(*stretch->track);
        postToMainThread([stretch, link] {
            if (link->closeUp)
                link->closeUp->didRead(stretch);
        });
    });
}

void SampleCloseUp::didRead(const std::shared_ptr<Stretch>& stretch)
{
    mBeingRead.reset();
    if (stretch->isUnwanted) {
        startReading(mWantedTrack, withMargins(mWanted, *mWantedTrack));
        return;
    }
    mKept = stretch;
    if (mDidRead)
        mDidRead(stretch->range.start, stretch->range.end - stretch->range.start);
}

} // namespace velloria
