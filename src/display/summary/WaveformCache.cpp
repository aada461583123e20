#include "display/summary/WaveformCache.h"

#include "display/summary/SummaryAppender.h"
#include "platform/Log.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kFullScale = 32767.0;
// More columns than any screen has, and few enough to allocate.
constexpr double kMaxColumns = 16.0 * 1024 * 1024;

void logZeroZoom()
{
    // Both kinds of input report the float one's name.
    logLine(QStringLiteral("-[WaveformCache appendFloatData] _zoom == 0"));
}

} // namespace

WaveformCache::WaveformCache(uint32_t zoom)
    : mStore(new SummaryStore(zoom))
{
}

WaveformCache::WaveformCache(const QExplicitlySharedDataPointer<SummaryStore>& store)
    : mStore(store)
{
}

WaveformCache::WaveformCache(const WaveformCache& other) = default;
WaveformCache::WaveformCache(WaveformCache&& other) noexcept = default;
WaveformCache::~WaveformCache() = default;

WaveformCache& WaveformCache::operator=(WaveformCache other) noexcept
{
    mStore.swap(other.mStore);
    mFirstEntry = other.mFirstEntry;
    mMaxEntries = other.mMaxEntries;
    return *this;
}

WaveformCache WaveformCache::none()
{
    return WaveformCache(QExplicitlySharedDataPointer<SummaryStore>());
}

uint32_t WaveformCache::zoom() const
{
    return mStore ? mStore->zoom() : clipZoom;
}

int64_t WaveformCache::endEntry() const
{
    if (!mStore)
        return mFirstEntry;
    const int64_t numEntries = std::max<int64_t>(mFirstEntry, mStore->numEntries());
    return mMaxEntries == kNoLimit ? numEntries : std::min(numEntries, int64_t{mFirstEntry} + mMaxEntries);
}

int64_t WaveformCache::length() const
{
    return endEntry() - mFirstEntry;
}

bool WaveformCache::isFinal() const
{
    return mStore && mStore->isFinal();
}

SummaryStore& WaveformCache::storeForAppending()
{
    if (!mStore || !isWhole())
        setData(data());
    return *mStore;
}

void WaveformCache::appendFloatData(std::span<const float> samples)
{
    SummaryStore& store = storeForAppending();
    if (store.zoom() == 0)
        logZeroZoom();
    else if (store.zoom() == 1)
        SummaryAppender::appendRaw(store, samples);
    else
        SummaryAppender::append(store, samples);
}

void WaveformCache::appendInt16Data(std::span<const int16_t> samples)
{
    SummaryStore& store = storeForAppending();
    if (store.zoom() == 0)
        logZeroZoom();
    else if (store.zoom() == 1)
        store.append(samples);
    else
        SummaryAppender::append(store, samples);
}

void WaveformCache::appendInterleavedInt16(std::span<const int16_t> samples,
                                           std::span<WaveformCache* const> caches)
{
    const size_t numChannels = caches.size();
    if (numChannels == 0)
        return;
    const size_t numFrames = samples.size() / numChannels;
    if (numChannels <= SummaryAppender::maxChannels) {
        std::array<SummaryStore*, SummaryAppender::maxChannels> stores;
        std::transform(caches.begin(), caches.end(), stores.begin(),
                       [](WaveformCache* cache) { return &cache->storeForAppending(); });
        const std::span<SummaryStore* const> used(stores.data(), numChannels);
        if (SummaryAppender::areInStep(used))
            return SummaryAppender::append(used, samples.data(), numFrames);
    }
    std::vector<int16_t> mono(numFrames);
    for (size_t channel = 0; channel < numChannels; ++channel) {
        for (size_t frame = 0; frame < numFrames; ++frame)
            mono[frame] = samples[frame * numChannels + channel];
        caches[channel]->appendInt16Data(mono);
    }
}

void WaveformCache::finalizeCache()
{
    SummaryStore& store = storeForAppending();
    SummaryAppender::appendRemainder(store);
    store.setFinal();
}

bool WaveformCache::getMin(double& min, double& max, int64_t offset, int64_t numFrames) const
{
    const int64_t end = endEntry();
    const int64_t zoom = this->zoom();
    if (end == mFirstEntry || zoom == 0)
        return false;
    if (offset < 0) {
        logLine(QStringLiteral("Offset < 0"));
        return false;
    }
    if (numFrames < 0) {
        logLine(QStringLiteral("NumFrames < 0"));
        return false;
    }
    const int64_t first = mFirstEntry + offset / zoom;
    if (first >= end)
        return false;
    const int64_t lastFrame = std::min(numFrames, INT64_MAX - offset - zoom) + offset + zoom - 1;
    const int64_t endOfRange = std::min(mFirstEntry + lastFrame / zoom, end);
    min = 100.0;
    max = -100.0;
    if (endOfRange > first) {
        const auto range = mStore->range(first, endOfRange);
        min = range.min / kFullScale;
        max = range.max / kFullScale;
    }
    return true;
}

std::vector<float> WaveformCache::minMaxDataAtOffset(double offset, double numFrames, double stride) const
{
    const double numColumns = std::ceil(numFrames / stride);
    if (!(numColumns >= 1.0 && numColumns <= kMaxColumns && std::abs(offset) < 0x1p62 && stride < 0x1p62))
        return {};
    std::vector<float> columns(2 * static_cast<size_t>(numColumns));
    const auto framesPerColumn = static_cast<int64_t>(std::ceil(stride));
    for (size_t column = 0; column < columns.size() / 2; ++column) {
        const double position = static_cast<double>(column) * stride + offset;
        double min = 0.0;
        double max = 0.0;
        if (std::abs(position) < 0x1p62 &&
            getMin(min, max, static_cast<int64_t>(position), framesPerColumn)) {
            columns[2 * column] = static_cast<float>(min);
            columns[2 * column + 1] = static_cast<float>(max);
        }
    }
    return columns;
}

WaveformCache WaveformCache::subdataWithOffset(int64_t offset, int64_t numFrames) const
{
    const int64_t zoom = this->zoom();
    if (!mStore || zoom == 0)
        return none();
    const auto entries = [](int64_t count) {
        return static_cast<uint32_t>(std::clamp<int64_t>(count, 0, kNoLimit));
    };
    const int64_t start = std::max<int64_t>(0, offset);
    const int64_t count = std::max<int64_t>(0, numFrames);
    const int64_t first = start / zoom + (start % zoom + zoom / 2) / zoom;
    const int64_t wanted = count / zoom + (count % zoom != 0 ? 1 : 0);
    WaveformCache part(*this);
    part.mFirstEntry = entries(mFirstEntry + first);
    part.mMaxEntries = entries(mMaxEntries == kNoLimit ? wanted : std::min(wanted, mMaxEntries - first));
    return part;
}

void WaveformCache::setData(std::vector<int16_t> data)
{
    mStore = new SummaryStore(zoom());
    mFirstEntry = 0;
    mMaxEntries = kNoLimit;
    mStore->append(data);
}

std::vector<int16_t> WaveformCache::data() const
{
    return mStore ? mStore->copy(mFirstEntry, endEntry()) : std::vector<int16_t>();
}

} // namespace velloria
