#include "formats/mpegframes/Mp3SeamPlan.h"

#include "formats/mpegframes/Mp3InfoEdit.h"

#include <algorithm>
#include <map>

namespace velloria
{

namespace
{

using Run = Mp3SeamPlan::Run;

// What a packet decodes to goes on so many frames behind its own.
constexpr int64_t framesReachedBehind = 576 + 480;
// LAME's and the decoder's: an encoded packet at the start has all of the sound that it needs.
constexpr int64_t framesBeforeEncodedSound = 576 + Mp3InfoEdit::decoderDelay;
// Of fewer, between two seams, next to nothing would decode to what it was.
constexpr int64_t fewestPacketsKept = 3;

int64_t floorDivided(int64_t a, int64_t b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

class Planner
{
public:
    Planner(const Mp3FrameIndex& index, const SoundPieces& pieces, int64_t numFrames)
        : mIndex(index)
        , mPieces(pieces)
        , mPacket(index.framesPerPacket())
    {
        mPlan.numFrames = numFrames;
        mPlan.framesPerPacket = mPacket;
    }

    std::optional<Mp3SeamPlan> plan()
    {
        chooseGrid();
        if (!startWithPackets())
            mPlan.leadFrames = framesBeforeEncodedSound + residue(mGrid - framesBeforeEncodedSound);
        mNumPackets = -floorDivided(-(mPlan.numFrames + mPlan.leadFrames), mPacket);
        mNumPackets += numPacketsBehind();
        for (const SoundPiece& piece : mPieces)
            keep(piece);
        const bool isAnyKept = !mPlan.runs.empty();
        encodeTo(mNumPackets);
        return isAnyKept ? std::optional(mPlan) : std::nullopt;
    }

private:
    int64_t residue(int64_t frame) const { return frame - floorDivided(frame, mPacket) * mPacket; }
    /// Where a piece's grid lies in what is saved.
    int64_t gridOf(const SoundPiece& piece) const
    {
        return residue(piece.sourceFrame + mIndex.primingFrames() - piece.frame);
    }

    void chooseGrid()
    {
        std::map<int64_t, int64_t> numFramesOnGrid;
        for (const SoundPiece& piece : mPieces) {
            const int64_t numKept = std::max<int64_t>(0, piece.numFrames - fewestPacketsKept * mPacket);
            numFramesOnGrid[gridOf(piece)] += numKept;
        }
        int64_t most = -1;
        for (const auto& [grid, numFrames] : numFramesOnGrid) {
            if (numFrames > most)
                mGrid = grid;
            most = std::max(most, numFrames);
        }
    }

    /// Lets the sound begin with copied packets, where it begins with sound of the file that is on the grid.
    bool startWithPackets()
    {
        if (mPieces.empty() || mPieces.front().frame != 0 || gridOf(mPieces.front()) != mGrid)
            return false;
        const SoundPiece& first = mPieces.front();
        if (first.numFrames < fewestPacketsKept * mPacket + framesReachedBehind)
            return false;
        const int64_t position = first.sourceFrame + mIndex.primingFrames();
        // The packet that the sound begins in, and those that it needs to decode to the same.
        const int64_t numNeeded = mPacket == 576 ? 2 : 1;
        int64_t packet = std::max<int64_t>(0, position / mPacket - numNeeded);
        // The start of a file stays as it is.
        const bool isStart = first.sourceFrame == 0 && position >= Mp3InfoEdit::decoderDelay &&
                             position <= Mp3InfoEdit::decoderDelay + Mp3InfoEdit::longestDelay;
        if (isStart)
            packet = 0;
        if (!mIndex.hasReservoir(packet) || packet >= mIndex.numPackets())
            return false;
        int64_t numSilent = mIndex.reservoirOf(packet) > 0 ? 1 : 0;
        mPlan.leadFrames = position - packet * mPacket;
        while (mPlan.leadFrames + numSilent * mPacket < Mp3InfoEdit::decoderDelay)
            ++numSilent;
        mPlan.leadFrames += numSilent * mPacket;
        mFirstPacket = numSilent;
        return true;
    }

    /// What follows the sound in the file, as far as it goes with its end.
    int64_t numPacketsBehind() const
    {
        if (mPieces.empty() || mPieces.back().end() != mPlan.numFrames ||
            mPieces.back().sourceEnd() != mIndex.numFrames() || gridOf(mPieces.back()) != mGrid)
            return 0;
        const int64_t packet = mNumPackets + toSource(mPieces.back());
        const int64_t padding = mNumPackets * mPacket - mPlan.delay() - mPlan.numFrames;
        const int64_t numPossible = (Mp3InfoEdit::longestDelay - padding) / mPacket;
        return std::clamp<int64_t>(mIndex.numPackets() - packet, 0, std::max<int64_t>(0, numPossible));
    }

    /// What is added to the number of a new packet to give that of the opened file.
    int64_t toSource(const SoundPiece& piece) const
    {
        return floorDivided(piece.sourceFrame + mIndex.primingFrames() - piece.frame - mPlan.leadFrames,
                            mPacket);
    }

    void keep(const SoundPiece& piece)
    {
        if (gridOf(piece) != mGrid)
            return;
        const int64_t toSource = this->toSource(piece);
        const bool isFirst = piece.frame == 0 && mFirstPacket.has_value();
        int64_t first = isFirst ? *mFirstPacket : -floorDivided(-(piece.frame + mPlan.leadFrames), mPacket);
        int64_t end = floorDivided(piece.end() + mPlan.leadFrames - framesReachedBehind, mPacket);
        if (piece.end() == mPlan.numFrames)
            end = mNumPackets;
        end = std::min(end, mIndex.numPackets() - toSource);
        first = std::max(first, -toSource);
        const auto windowsOf = [&](int64_t packet) { return mIndex.windowsOf(packet + toSource); };
        while (first < end &&
               (!mIndex.hasReservoir(first + toSource) || !(isFirst || windowsOf(first).beginLong)))
            ++first;
        while (first < end && end < mNumPackets && !windowsOf(end - 1).endLong)
            --end;
        if (end - first < fewestPacketsKept)
            return;
        encodeTo(first);
        mPlan.runs.push_back({Run::Kind::copied, first, end - first, first + toSource});
    }

    void encodeTo(int64_t packet)
    {
        const int64_t done = mPlan.numPackets();
        const bool isSilent = packet == mFirstPacket && done == 0;
        if (packet > done)
            mPlan.runs.push_back({isSilent ? Run::Kind::silent : Run::Kind::encoded, done, packet - done, 0});
    }

    const Mp3FrameIndex& mIndex;
    const SoundPieces& mPieces;
    const int64_t mPacket;
    int64_t mGrid = 0;
    int64_t mNumPackets = 0;
    /// Of those that are copied, where the sound begins with such.
    std::optional<int64_t> mFirstPacket;
    Mp3SeamPlan mPlan;
};

} // namespace

std::optional<Mp3SeamPlan> Mp3SeamPlan::make(const Mp3FrameIndex& index, const SoundPieces& pieces,
                                             int64_t numFrames)
{
    return Planner(index, pieces, numFrames).plan();
}

int64_t Mp3SeamPlan::delay() const
{
    return leadFrames - Mp3InfoEdit::decoderDelay;
}

int64_t Mp3SeamPlan::padding() const
{
    return numPackets() * framesPerPacket - delay() - numFrames;
}

SeamReport Mp3SeamPlan::report() const
{
    SeamReport report;
    for (const Run& run : runs) {
        const int64_t first = std::max<int64_t>(0, run.firstPacket * framesPerPacket - leadFrames);
        const int64_t end = std::min(numFrames, run.end() * framesPerPacket - leadFrames);
        if (run.kind != Run::Kind::encoded || first >= end)
            continue;
        report.numFramesEncoded += end - first;
        ++report.numSeams;
    }
    return report;
}

} // namespace velloria
