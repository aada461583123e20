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
                while (!pieces.empty())
                    drop(pieces, pieces.begin());
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
    std::vector<FloatBuffer> frames(mWaiting.size());
    for (FloatBuffer& buffer : frames) {
        if (mSpare.empty())
            break;
        buffer = std::move(mSpare.back());
        mSpare.pop_back();
        buffer.clear();
    }
    lock.unlock();
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
        pieces.emplace(position, Piece{std::move(frames[track])});
        // Of a track that nobody reads.
        while (pieces.begin()->first < mPosition - kMostWaiting)
            drop(pieces, pieces.begin());
    }
}

void SequentialReader::drop(Pieces& pieces, Pieces::iterator piece)
{
    mSpare.push_back(std::move(piece->second.frames));
    pieces.erase(piece);
}

/// Moves the frames at `offset` that wait to `out`, as many as it has room for; gives their number.
size_t SequentialReader::take(Pieces& pieces, int64_t offset, std::span<float> out)
{
    size_t done = 0;
    while (done < out.size()) {
        const int64_t position = offset + static_cast<int64_t>(done);
        auto found = pieces.upper_bound(position);
        if (found == pieces.begin())
            break;
        --found;
        Piece& piece = found->second;
        const std::span<const float> unread = piece.unread();
        const auto skipped = static_cast<size_t>(position - found->first);
        if (skipped >= unread.size())
            break;
        const size_t count = std::min(out.size() - done, unread.size() - skipped);
        std::copy_n(unread.begin() + static_cast<std::ptrdiff_t>(skipped), count,
                    out.begin() + static_cast<std::ptrdiff_t>(done));
        done += count;
        const std::span<const float> behind = unread.subspan(skipped + count);
        if (skipped > 0) {
            // What lies before waits on, and what lies behind apart from it.
            if (!behind.empty())
                pieces.emplace(position + static_cast<int64_t>(count),
                               Piece{FloatBuffer(behind.begin(), behind.end())});
            piece.frames.resize(piece.numRead + skipped);
        } else if (behind.empty()) {
            drop(pieces, found);
        } else {
            piece.numRead += count;
            auto node = pieces.extract(found);
            node.key() += static_cast<int64_t>(count);
            pieces.insert(std::move(node));
        }
    }
    return done;
}

} // namespace velloria
