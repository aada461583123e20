#include "formats/flac/FlacSampleSum.h"

#include "formats/flac/FlacBlock.h"
#include "formats/saving/IntegerFeed.h"

#include <QCryptographicHash>

namespace velloria
{

namespace
{

constexpr int64_t framesPerPass = 32768;

} // namespace

FlacSampleSum::FlacSampleSum(TrackList tracks, const SaveRange& range, uint32_t bits)
    : mResult(std::async(std::launch::async, [this, tracks = std::move(tracks), range, bits] {
        return compute(tracks, range, bits);
    }))
{
}

FlacSampleSum::~FlacSampleSum()
{
    mIsCancelled = true;
    if (mResult.valid())
        mResult.wait();
}

bool FlacSampleSum::wait(std::chrono::milliseconds time) const
{
    return mResult.wait_for(time) == std::future_status::ready;
}

QByteArray FlacSampleSum::compute(const TrackList& tracks, const SaveRange& range, uint32_t bits)
{
    QCryptographicHash sum(QCryptographicHash::Md5);
    std::vector<std::byte> packed;
    IntegerFeed feed(tracks, range, framesPerPass, static_cast<int>(bits));
    while (!mIsCancelled && feed.next()) {
        packed.clear();
        FlacBlock::pack(feed.channels(), static_cast<size_t>(feed.numFrames()), bits, packed);
        sum.addData({reinterpret_cast<const char*>(packed.data()), std::ssize(packed)});
        mNumFrames.fetch_add(feed.numFrames(), std::memory_order_relaxed);
    }
    return sum.result();
}

} // namespace velloria
