#pragma once

#include "formats/mpeg4/Mpeg4SoundTrack.h"

#include <functional>

namespace velloria
{

/// Where what stood in the opened file stands in the new one. Each gives nothing for what does not.
struct Mpeg4Moves {
    /// Of a run of samples of another track than the sound.
    std::function<std::optional<int64_t>(const Mpeg4Run&)> run;
    /// Of the packets in the place of one of the sound's runs.
    std::function<int64_t(size_t part)> part;
    /// Of the start of an outermost box, or the end of the file.
    std::function<std::optional<int64_t>(int64_t)> box;
};

/// Movie fragments and their indexes, for samples that have moved and new sound (ISO/IEC 14496-12, 8.8 and
/// 8.16.3). What is made is as long whatever the moves are, so that it can be made once to be measured.
namespace Mpeg4FragmentEdit
{

struct SoundPlace {
    /// Null where the sound stays what it was: then it is a track like the others.
    const Mpeg4SoundTrack* track = nullptr;
    uint32_t trackID = 0;
    /// Of the fragment's first part.
    size_t firstPart = 0;
};

/// The 'moof' box `old` (its payload) for the place `offset`. Nothing when its samples lie too far away.
std::optional<QByteArray> fragment(const Mpeg4Box& old, const Mpeg4Fragment& runs, const SoundPlace& sound,
                                   int64_t offset, const Mpeg4Moves& moves);

/// The 'sidx' box that ends at `oldEnd` in the opened file and at `end` in the new one.
std::optional<QByteArray> segmentIndex(const Mpeg4Box& old, int64_t oldEnd, int64_t end,
                                       const Mpeg4Moves& moves);

/// A fragment that new sound can be played from: its first packet there.
struct SoundEntry {
    /// On the clock of the new sound.
    int64_t time = 0;
    /// Of the fragment in the opened file.
    int64_t fragmentOffset = 0;
    /// Which of the fragment's tracks it is, from 1.
    uint32_t trackNumber = 0;
};

/// The 'mfra' box. `entries` stand for those of the track `soundTrackID`, whose packets are others; it is 0
/// where the sound stays what it was.
QByteArray randomAccess(const Mpeg4Box& old, uint32_t soundTrackID, std::span<const SoundEntry> entries,
                        const Mpeg4Moves& moves);

} // namespace Mpeg4FragmentEdit

} // namespace velloria
