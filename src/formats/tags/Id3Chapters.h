#pragma once

#include "document/clips/AudioMarker.h"
#include "formats/tags/Id3FrameMaker.h"
#include "formats/tags/Id3Layout.h"

#include <map>

namespace velloria
{

/// Chapters of ID3v2.3 and 2.4 tags (CHAP and CTOC) as markers. Layout: "ID3v2 Chapter Frame Addendum" at
/// https://id3.org
namespace Id3Chapters
{

/// The chapters of a tag as markers, in the order of their times. Null when there are none.
MarkerList markers(const QByteArray& tag, double sampleRate);

/// False for a tag of version 2.2, and for bytes that are none.
bool canHold(const QByteArray& tag);

/// What the payload of a CHAP or CTOC frame holds that no marker can: pictures, addresses, a list's name.
/// Nothing for a payload that is damaged.
std::optional<bool> holdsMore(QByteArrayView id, QByteArrayView payload);

/// Where the markers are now, and how long the sound is and was, at one rate.
struct Target {
    MarkerList markers;
    double sampleRate = 0.0;
    int64_t numFrames = 0;
    int64_t numFramesBefore = 0;
    /// Bytes of the file that a chapter names are others now.
    bool isEncodedAnew = false;
};

struct Edit {
    /// By the number of the frame; empty for one that goes.
    std::map<size_t, QByteArray> replacements;
    QList<QByteArray> appended;
};

/// The frames of a tag that has chapters for the markers as they are now. Chapters that begin where they did
/// under the name that they had stay as they are; others keep what else they hold. A chapter ends where the
/// next one begins, if it did so before. The first ones of a tag get a list as well; tags of version 2.2 can
/// hold none.
Edit edit(const Id3Layout& layout, const Id3FrameMaker& maker, const Target& target);

/// Milliseconds.
uint32_t timeOf(int64_t position, double sampleRate);
int64_t positionOf(uint32_t milliseconds, double sampleRate);

} // namespace Id3Chapters

} // namespace velloria
