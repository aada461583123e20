#include "effects/stretch/PieceStretcher.h"

#include "effects/stretch/CutFinder.h"
#include "platform/DispatchQueue.h"

#include <QThread>
#include <algorithm>
#include <cmath>
#include <mutex>
#include <numbers>

namespace velloria
{

namespace
{

constexpr double kShortestSeconds = 6.0;
constexpr double kUsualSeconds = 9.0;
/// A tone that is held longer is cut all the same, so that it need not be kept as a whole.
constexpr double kLongestSeconds = 60.0;
/// What the engine has to hear before it is settled.
constexpr double kContextSeconds = 0.15;
constexpr double kHalfFadeSeconds = 0.01;
constexpr uint64_t kReadNumFrames = 65536;
constexpr int64_t kWrittenNumFrames = 16384;
/// Of a piece's sound: as much as makes a block of memory that goes back to the system at once.
constexpr int64_t kBlockNumFrames = int64_t{1} << 18;
/// More silence than pushes the end of a sound out of the engine: some of its windows.
constexpr double kSilenceSeconds = 2.0;
constexpr double kSilenceNumFrames = 65536.0;

void append(SampleBlock& to, const SampleBlock& from)
{
    to.resize(std::max(to.size(), from.size()));
    for (size_t track = 0; track < from.size(); ++track)
        to[track].insert(to[track].end(), from[track].begin(), from[track].end());
}

void dropFront(SampleBlock& block, int64_t count)
{
    for (FloatBuffer& track : block)
        track.erase(track.begin(), track.begin() + static_cast<std::ptrdiff_t>(count));
}

SampleBlock slice(const SampleBlock& block, int64_t start, int64_t end)
{
    SampleBlock part;
    for (const FloatBuffer& track : block)
        part.emplace_back(track.begin() + static_cast<std::ptrdiff_t>(start),
                          track.begin() + static_cast<std::ptrdiff_t>(end));
    return part;
}

std::deque<SampleBlock> blocksOf(const SampleBlock& sound, int64_t start, int64_t end)
{
    std::deque<SampleBlock> blocks;
    for (; start < end; start += kBlockNumFrames)
        blocks.push_back(slice(sound, start, std::min(end, start + kBlockNumFrames)));
    return blocks;
}

int64_t lengthOf(const SampleBlock& block)
{
    return block.empty() ? 0 : std::ssize(block.front());
}

/// Of two runs of frames, all tracks together: 1 where they are alike, 0 where they have nothing in common.
double correlation(const SampleBlock& a, const SampleBlock& b, size_t count)
{
    double product = 0.0;
    double squares[2] = {0.0, 0.0};
    for (size_t track = 0; track < a.size(); ++track) {
        for (size_t i = 0; i < count; ++i) {
            const double x = a[track][i];
            const double y = b[track][i];
            product += x * y;
            squares[0] += x * x;
            squares[1] += y * y;
        }
    }
    const double divisor = std::sqrt(squares[0] * squares[1]);
    return divisor > 0.0 ? std::clamp(product / divisor, 0.0, 1.0) : 1.0;
}

int64_t lengthOf(const std::deque<SampleBlock>& blocks)
{
    int64_t length = 0;
    for (const SampleBlock& block : blocks)
        length += lengthOf(block);
    return length;
}

/// The sound of a piece, in blocks that are let go of when they are used up; then silence.
class PieceFeed
{
public:
    explicit PieceFeed(std::deque<SampleBlock>& blocks)
        : mBlocks(blocks)
        , mTaken(blocks.front().size(), FloatBuffer(SoundStretcher::kMostPutFrames))
        , mChannels(mTaken.size())
    {
    }

    /// The next frames, kMostPutFrames at most.
    const std::vector<SoundStretcher::Channel>& take(size_t count)
    {
        for (size_t taken = 0; taken < count;) {
            const size_t left = mBlocks.empty() ? count : mBlocks.front().front().size() - mStart;
            const size_t part = std::min(count - taken, left);
            for (size_t track = 0; track < mTaken.size(); ++track) {
                float* const to = mTaken[track].data() + taken;
                if (mBlocks.empty())
                    std::fill_n(to, part, 0.0F);
                else
                    std::copy_n(mBlocks.front()[track].data() + mStart, part, to);
            }
            taken += part;
            mStart += part;
            if (part == left && !mBlocks.empty()) {
                mBlocks.pop_front();
                mStart = 0;
            }
        }
        for (size_t track = 0; track < mTaken.size(); ++track)
            mChannels[track] = std::span(mTaken[track]).first(count);
        return mChannels;
    }

private:
    std::deque<SampleBlock>& mBlocks;
    size_t mStart = 0; ///< in the first block
    SampleBlock mTaken;
    std::vector<SoundStretcher::Channel> mChannels;
};

/// The first `numNeeded` frames of what a sound becomes; fewer when so much silence behind it does not push
/// them out. The sound is used up.
SampleBlock startOfResult(SoundStretcher& stretcher, std::deque<SampleBlock>& sound, size_t numNeeded,
                          size_t mostSilence)
{
    SampleBlock all(sound.front().size());
    for (FloatBuffer& track : all)
        track.reserve(numNeeded);
    const auto length = static_cast<size_t>(lengthOf(sound));
    PieceFeed feed(sound);
    for (size_t start = 0; all.front().size() < numNeeded && start < length + mostSilence;) {
        size_t count = stretcher.numFramesWanted();
        if (start < length)
            count = std::min(count, length - start);
        stretcher.put(feed.take(count));
        start += count;
        while (all.front().size() < numNeeded && stretcher.numFramesReady() > 0)
            stretcher.take(all, numNeeded - all.front().size());
    }
    return all;
}

} // namespace

PieceStretcher::PieceStretcher(double sampleRate, int64_t numFrames, int64_t numWanted,
                               const StretchSettings& settings)
    : mSampleRate(sampleRate)
    , mNumFrames(numFrames)
    , mNumWanted(numWanted)
    , mSettings(settings)
    , mHalfFade(std::max<int64_t>(1, frames(kHalfFadeSeconds)))
    , mContext(frames(kContextSeconds) +
               static_cast<int64_t>(std::ceil(static_cast<double>(mHalfFade) / settings.timeRatio)))
{
}

int64_t PieceStretcher::placeInResult(int64_t frame) const
{
    return std::llround(static_cast<double>(frame) * static_cast<double>(mNumWanted) /
                        static_cast<double>(mNumFrames));
}

/// Reads up to a frame of the sound; false where it ends before.
bool PieceStretcher::fill(const Read& read, int64_t end)
{
    SampleBlock block;
    // The last read goes beyond the end.
    const int64_t most = std::min(end + static_cast<int64_t>(kReadNumFrames), mNumFrames) - mHeldStart;
    for (FloatBuffer& track : mHeld)
        track.reserve(static_cast<size_t>(std::max<int64_t>(0, most)));
    while (!mIsAtEnd && mHeldStart + lengthOf(mHeld) < std::min(end, mNumFrames)) {
        const int64_t missing = mNumFrames - mHeldStart - lengthOf(mHeld);
        if (read(std::min(kReadNumFrames, static_cast<uint64_t>(missing)), block) && lengthOf(block) > 0)
            velloria::append(mHeld, block);
        else
            mIsAtEnd = true;
    }
    return mHeldStart + lengthOf(mHeld) >= end;
}

int64_t PieceStretcher::endOfPiece(const Read& read)
{
    const int64_t longest = mNextStart + frames(kLongestSeconds);
    for (int64_t from = mNextStart + frames(kShortestSeconds); from < longest;) {
        const int64_t to = from + frames(kUsualSeconds - kShortestSeconds);
        // The rest is not worth a piece of its own.
        if (!fill(read, to + frames(kShortestSeconds)))
            return mHeldStart + lengthOf(mHeld);
        const std::optional<size_t> place =
            CutFinder(mHeld, mSampleRate)
                .find(static_cast<size_t>(from - mHeldStart), static_cast<size_t>(to - mHeldStart));
        // The seam lies before an attack, not over it.
        if (place)
            return mHeldStart + static_cast<int64_t>(*place) -
                   static_cast<int64_t>(std::ceil(static_cast<double>(mHalfFade) / mSettings.timeRatio));
        from = to;
    }
    return longest;
}

PieceStretcher::Piece PieceStretcher::nextPiece(const Read& read)
{
    Piece piece;
    piece.start = mNextStart;
    piece.end = endOfPiece(read);
    piece.contextStart = std::max<int64_t>(0, piece.start - mContext);
    fill(read, piece.end + mContext);
    const int64_t contextEnd = std::min(piece.end + mContext, mHeldStart + lengthOf(mHeld));
    piece.sound = blocksOf(mHeld, piece.contextStart - mHeldStart, contextEnd - mHeldStart);
    // A sound may end before it was said to.
    piece.isLast = piece.end >= mNumFrames || (mIsAtEnd && piece.end >= mHeldStart + lengthOf(mHeld));
    mNextStart = piece.end;
    const int64_t needed = std::max<int64_t>(mHeldStart, piece.end - mContext);
    // With the memory.
    mHeld = slice(mHeld, needed - mHeldStart, lengthOf(mHeld));
    mHeldStart = needed;
    return piece;
}

MaybeError PieceStretcher::stretch(Piece& piece) const
{
    const auto stretcher = SoundStretcher::forWhole(mSampleRate, piece.sound.front().size(), mSettings);
    if (!stretcher)
        return Error{
            Error::Code::failed,
            QStringLiteral("The library Rubber Band, which changes pitch and tempo, is not installed.")};
    // From one half of a crossfade before its start to one after its end.
    const int64_t offset = placeInResult(piece.contextStart);
    const int64_t from = piece.start > 0 ? placeInResult(piece.start) - mHalfFade : 0;
    const int64_t to = placeInResult(piece.end) + (piece.isLast ? 0 : mHalfFade);
    // A window that becomes shorter takes more of it.
    const double shortening = std::min(1.0, mSettings.timeRatio * mSettings.pitchScale);
    const auto mostSilence =
        static_cast<size_t>(std::max(kSilenceNumFrames, kSilenceSeconds * mSampleRate) / shortening);
    SampleBlock all = startOfResult(*stretcher, piece.sound, static_cast<size_t>(to - offset), mostSilence);
    piece.sound.clear();
    if (lengthOf(all) < to - offset)
        return Error{
            Error::Code::failed,
            QStringLiteral("The library Rubber Band did not give the whole of the stretched sound.")};
    dropFront(all, from - offset);
    piece.result = std::move(all);
    return std::nullopt;
}

/// Fades from the end of the piece before to the start of this one, at the same loudness.
void PieceStretcher::join(SampleBlock& result)
{
    const auto count = static_cast<size_t>(std::min(lengthOf(mFading), lengthOf(result)));
    const double alike = correlation(mFading, result, count);
    for (size_t i = 0; i < count; ++i) {
        const double angle = std::numbers::pi * (static_cast<double>(i) + 0.5) / static_cast<double>(count);
        const double in = 0.5 - 0.5 * std::cos(angle);
        const double out = 1.0 - in;
        const double power = in * in + out * out + 2.0 * in * out * alike;
        for (size_t track = 0; track < result.size(); ++track)
            result[track][i] =
                static_cast<float>((out * mFading[track][i] + in * result[track][i]) / std::sqrt(power));
    }
}

MaybeError PieceStretcher::append(Piece& piece, const Write& write)
{
    if (!mFading.empty())
        join(piece.result);
    const int64_t length = lengthOf(piece.result);
    const int64_t complete = piece.isLast ? length : std::max<int64_t>(0, length - 2 * mHalfFade);
    mFading = piece.isLast ? SampleBlock() : slice(piece.result, complete, length);
    mNumWritten += complete;
    // Bit by bit: who writes it keeps room for the longest block that ever came.
    for (int64_t start = 0; start < complete; start += kWrittenNumFrames)
        if (MaybeError error =
                write(slice(piece.result, start, std::min(complete, start + kWrittenNumFrames))))
            return error;
    piece.result = SampleBlock();
    return std::nullopt;
}

/// Writes those whose turn it is.
MaybeError PieceStretcher::appendStretched(std::deque<Piece>& pieces, const Write& write)
{
    while (!pieces.empty() && pieces.front().isStretched) {
        if (MaybeError error = append(pieces.front(), write))
            return error;
        pieces.pop_front();
    }
    return std::nullopt;
}

MaybeError PieceStretcher::processNext(const Read& read, const Write& write)
{
    // How many there are at once does not change what comes out, only how long it takes. Each is cut off when
    // a core is free for it and written when all before it are, so that little is kept in memory.
    const int numAtOnce = std::max(2, QThread::idealThreadCount()) * 2;
    std::mutex mutex;
    std::deque<Piece> pieces; ///< whose places do not change when others come and go at the ends
    MaybeError error;
    int64_t numFrames = 0;
    runConcurrently(numAtOnce, [&](int) {
        std::unique_lock lock(mutex);
        if (error || mIsDone || numFrames >= frames(kLongestSeconds))
            return;
        Piece& piece = pieces.emplace_back(nextPiece(read));
        numFrames += piece.end - piece.start;
        mIsDone = piece.isLast;
        if (piece.sound.empty()) {
            pieces.pop_back();
            return;
        }
        lock.unlock();
        const MaybeError failure = stretch(piece);
        lock.lock();
        piece.isStretched = !failure;
        if (!error)
            error = failure ? failure : appendStretched(pieces, write);
    });
    return error;
}

} // namespace velloria
