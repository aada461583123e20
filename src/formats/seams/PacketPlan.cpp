#include "formats/seams/PacketPlan.h"

#include <algorithm>

namespace velloria
{

PacketPlan::PacketPlan(std::vector<SoundPacket> packets, const SoundPieces& pieces, int64_t numFrames,
                       const Lengths& lengths)
    : mPackets(std::move(packets))
    , mLengths(lengths)
{
    int64_t frame = 0;
    for (Step run : keptRuns(pieces, numFrames)) {
        // What is too short for a packet of its own is encoded together with the packet behind it.
        while (run.numPackets > 0 && run.frame > frame && run.frame - frame < mLengths.least) {
            const int64_t dropped = mPackets[run.firstPacket].numFrames;
            ++run.firstPacket;
            --run.numPackets;
            run.frame += dropped;
            run.numFrames -= dropped;
        }
        if (run.numPackets == 0)
            continue;
        addEncoded(frame, run.frame, false);
        mSteps.push_back(run);
        frame = run.frame + run.numFrames;
    }
    addEncoded(frame, numFrames, true);
}

bool PacketPlan::keepsAny() const
{
    return std::ranges::any_of(mSteps, [](const Step& step) { return step.numPackets > 0; });
}

/// The packets that lie whole within the pieces, where they come to lie.
std::vector<PacketPlan::Step> PacketPlan::keptRuns(const SoundPieces& pieces, int64_t numFrames) const
{
    std::vector<Step> runs;
    for (const SoundPiece& piece : pieces)
        addRun(piece, numFrames, runs);
    return runs;
}

void PacketPlan::addRun(const SoundPiece& piece, int64_t numFrames, std::vector<Step>& runs) const
{
    const auto first = std::ranges::lower_bound(mPackets, piece.sourceFrame, {}, &SoundPacket::firstFrame);
    bool goesOn = false;
    for (auto packet = first; packet != mPackets.end() && packet->endFrame() <= piece.sourceEnd(); ++packet) {
        const int64_t frame = piece.frame + packet->firstFrame - piece.sourceFrame;
        if (packet->numFrames < mLengths.least && frame + packet->numFrames < numFrames) {
            goesOn = false;
            continue;
        }
        if (!goesOn)
            runs.push_back({frame, 0, static_cast<size_t>(packet - mPackets.begin()), 0, 0});
        runs.back().numFrames += packet->numFrames;
        ++runs.back().numPackets;
        goesOn = true;
    }
}

/// What is left over when packets of the usual length are taken away must not be too short, but at the end.
void PacketPlan::addEncoded(int64_t frame, int64_t end, bool isLast)
{
    if (frame == end)
        return;
    const int64_t rest = (end - frame) % mLengths.usual;
    if (isLast || rest == 0 || rest >= mLengths.least) {
        mSteps.push_back({frame, end - frame, 0, 0, mLengths.usual});
        return;
    }
    // The last whole packet and the rest are one packet, or two halves where that would not be too short.
    const int64_t tail = mLengths.usual + rest;
    if (end - frame > tail)
        mSteps.push_back({frame, end - frame - tail, 0, 0, mLengths.usual});
    const int64_t half = tail >= 2 * mLengths.least ? (tail + 1) / 2 : tail;
    mSteps.push_back({end - tail, tail, 0, 0, half});
}

int64_t PacketPlan::commonLength() const
{
    int64_t common = 0;
    int64_t before = 0;
    bool areEqual = true;
    // A packet is looked at when the next one comes: the last one may be shorter.
    const auto add = [&](int64_t length) {
        if (before != 0) {
            areEqual = areEqual && (common == 0 || before == common);
            common = before;
        }
        before = length;
    };
    for (const Step& step : mSteps) {
        for (size_t i = 0; i < step.numPackets && areEqual; ++i)
            add(mPackets[step.firstPacket + i].numFrames);
        for (int64_t done = 0; step.numPackets == 0 && done < step.numFrames && areEqual;
             done += step.packetFrames)
            add(std::min(step.packetFrames, step.numFrames - done));
    }
    if (common == 0)
        return before;
    return areEqual && before <= common ? common : 0;
}

} // namespace velloria
