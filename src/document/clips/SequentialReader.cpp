#include "document/clips/SequentialReader.h"

#include "platform/DispatchQueue.h"

#include <algorithm>
#include <utility>

namespace velloria
{

SequentialReader::SequentialReader(size_t numTracks)
    : mWaiting(numTracks)
{
}

void SequentialReader::read(size_t track, int64_t offset, std::span<float> out)
{
    std::unique_lock lock(mMutex);
    size_t done = 0;
    while (true) {
        done += take(mWaiting[track], offset + static_cast<int64_t>(done), out.subspan(done));
        if (done == out.size())
            return;
        if (mIsComputing) {
            const uint64_t numSteps = mNumSteps.load(std::memory_order_relaxed);
            lock.unlock();
            waitAndHelp([&] { return mNumSteps.load(std::memory_order_acquire) != numSteps; });
            lock.lock();
            continue;
        }
        if (offset + static_cast<int64_t>(done) < mPosition) {
            // Once more from the start.
            mHasBegun = false;
            mPosition = 0;
            for (Pieces& pieces : mWaiting)
                pieces.clear();
            done = 0;
        } else if (!step(lock)) {
            break;
        }
    }
    std::fill(out.begin() + static_cast<std::ptrdiff_t>(done), out.end(), 0.0F);
}

/// False at the end. Others take what waits meanwhile.
bool SequentialReader::step(std::unique_lock<std::mutex>& lock)
{
    if (!std::exchange(mHasBegun, true))
        begin();
    mIsComputing = true;
    lock.unlock();
    std::vector<FloatBuffer> frames(mWaiting.size());
    const bool hasMore = computeSome(frames);
    lock.lock();
    mIsComputing = false;
    if (hasMore)
        keep(mPosition, frames);
    mNumSteps.fetch_add(1, std::memory_order_release);
    wakeWaitingCalls();
    return hasMore;
}

void SequentialReader::keep(int64_t position, std::vector<FloatBuffer>& frames)
{
    mPosition += std::ssize(frames.front());
    for (size_t track = 0; track < mWaiting.size(); ++track) {
        Pieces& pieces = mWaiting[track];
        pieces.emplace(position, std::move(frames[track]));
        // Of a track that nobody reads.
        while (pieces.begin()->first < mPosition - kMostWaiting)
            pieces.erase(pieces.begin());
    }
}

/// Moves the frames at `offset` that wait to `out`, as many as it has room for; gives their number.
size_t SequentialReader::take(Pieces& pieces, int64_t offset, std::span<float> out)
{
    size_t done = 0;
    while (done < out.size()) {
        const int64_t position = offset + static_cast<int64_t>(done);
        auto piece = pieces.upper_bound(position);
        if (piece == pieces.begin())
            break;
        --piece;
        const auto skipped = position - piece->first;
        FloatBuffer& frames = piece->second;
        if (skipped >= std::ssize(frames))
            break;
        const auto count = std::min(out.size() - done, frames.size() - static_cast<size_t>(skipped));
        const auto first = frames.begin() + skipped;
        const auto last = first + static_cast<std::ptrdiff_t>(count);
        std::copy(first, last, out.begin() + static_cast<std::ptrdiff_t>(done));
        done += count;
        if (last != frames.end())
            pieces.emplace(position + static_cast<int64_t>(count), FloatBuffer(last, frames.end()));
        frames.resize(static_cast<size_t>(skipped));
        if (frames.empty())
            pieces.erase(piece);
    }
    return done;
}

} // namespace velloria
