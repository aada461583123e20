#pragma once

#include "document/clips/AudioClip.h"

#include <atomic>
#include <map>
#include <mutex>
#include <vector>

namespace velloria
{

/// Frames of some tracks that can only be computed one after another, computed as they are read. Made for a
/// save, which reads all of them once and nearly in order, on several threads: what a reader passes over
/// waits for the other ones. Going back to what was given already begins anew. Any thread.
class SequentialReader
{
public:
    explicit SequentialReader(size_t numTracks);
    virtual ~SequentialReader() = default;
    SequentialReader(const SequentialReader&) = delete;
    SequentialReader& operator=(const SequentialReader&) = delete;

    /// Fills `out` with the frames of a track from `offset` on, with zeros behind the last one.
    void read(size_t track, int64_t offset, std::span<float> out);

protected:
    /// Frames that a track keeps for readers to come; older ones are computed anew.
    static constexpr int64_t kMostWaiting = int64_t{1} << 20;

    /// Starts, the first time too, before the first frame. Never two calls of the two at once.
    virtual void begin() = 0;
    /// The next frames, one buffer of one length a track; false, and nothing, at the end. The buffers come
    /// empty, with memory that serves again.
    virtual bool computeSome(std::vector<FloatBuffer>& frames) = 0;

private:
    struct Piece {
        std::span<const float> unread() const { return std::span(frames).subspan(numRead); }
        FloatBuffer frames;
        size_t numRead = 0; ///< from its start on
    };
    /// Of one track, by the position of the first frame that is not read.
    using Pieces = std::map<int64_t, Piece>;

    bool step(std::unique_lock<std::mutex>& lock);
    void keep(int64_t position, std::vector<FloatBuffer>& frames);
    size_t take(Pieces& pieces, int64_t offset, std::span<float> out);
    void drop(Pieces& pieces, Pieces::iterator piece);

    std::mutex mMutex;
    bool mIsComputing = false; ///< some thread, which does not hold the mutex meanwhile
    std::atomic<uint64_t> mNumSteps = 0;
    bool mHasBegun = false;
    int64_t mPosition = 0;        ///< of the next frame to be computed
    std::vector<Pieces> mWaiting; ///< computed and not yet read, of each track
    std::vector<FloatBuffer> mSpare;
};

} // namespace velloria
