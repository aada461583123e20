#pragma once

#include <QString>
#include <cstdint>

namespace velloria
{

/// How much of an opened file's packets a save copies.
enum class SeamMode {
    exact,   ///< as many as leave every frame where the edits put it
    packets, ///< all but those around the seams: cuts move by up to half a packet where a codec's grid asks
             ///< it
    none,    ///< no packet: everything is encoded
};

/// What a save that copies packets encodes all the same.
struct SeamReport {
    int64_t numFramesEncoded = 0;
    /// Places where copied packets end or begin within the sound.
    int64_t numSeams = 0;

    /// For a person whose encoding loses something: "0.08 s around 2 cuts are encoded once more." Empty
    /// where nothing is encoded.
    QString loss(double sampleRate) const;
};

} // namespace velloria
