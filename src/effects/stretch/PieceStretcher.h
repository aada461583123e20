#pragma once

#include "Classes/CoreAudio/DataSource.h"
#include "platform/Error.h"
#include "platform/codec/SoundStretcher.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <vector>

namespace velloria
{

/// Stretches a sound of known length piece by piece, several at once. Pieces begin and end where CutFinder
/// finds a place, after some seconds; each is stretched with some sound around it and crossfaded into the
/// next. A sound without a place is one piece, up to a minute.
class PieceStretcher
{
public:
    /// Gives the next frames of the sound; false at its end. On any thread, one call at a time.
    using Read = std::function<bool(uint64_t numFrames, SampleBlock& block)>;
    /// Takes frames of the result. Likewise.
    using Write = std::function<MaybeError(const SampleBlock& block)>;

    /// `numFrames` frames become `numWanted`.
    PieceStretcher(double sampleRate, int64_t numFrames, int64_t numWanted, const StretchSettings& settings);

    /// Reads what some pieces need, stretches them and writes what is complete; `isDone` then tells whether
    /// that was all. An error when the library is missing or does not give all frames.
    MaybeError processNext(const Read& read, const Write& write);
    bool isDone() const { return mIsDone; }
    int64_t numWritten() const { return mNumWritten; }

private:
    /// Frames of the whole sound.
    struct Piece {
        int64_t start = 0;
        int64_t end = 0;
        int64_t contextStart = 0;
        std::deque<SampleBlock> sound; ///< with its context, in blocks that go as they are used
        SampleBlock result;
        bool isStretched = false;
        bool isLast = false;
    };
    int64_t placeInResult(int64_t frame) const;
    int64_t frames(double seconds) const { return static_cast<int64_t>(seconds * mSampleRate); }
    bool fill(const Read& read, int64_t end);
    int64_t endOfPiece(const Read& read);
    Piece nextPiece(const Read& read);
    MaybeError stretch(Piece& piece) const;
    MaybeError appendStretched(std::deque<Piece>& pieces, const Write& write);
    MaybeError append(Piece& piece, const Write& write);
    void join(SampleBlock& result);

    double mSampleRate;
    int64_t mNumFrames;
    int64_t mNumWanted;
    StretchSettings mSettings;
    int64_t mHalfFade; ///< of the result
    int64_t mContext;  ///< frames of the sound around a piece
    SampleBlock mHeld; ///< what was read and is still needed
    int64_t mHeldStart = 0;
    bool mIsAtEnd = false;
    int64_t mNextStart = 0; ///< of the next piece
    SampleBlock mFading;    ///< the end of the piece before, past its seam
    int64_t mNumWritten = 0;
    bool mIsDone = false;
};

} // namespace velloria
