#pragma once

#include <QString>
#include <cstdint>

namespace velloria
{

/// How tracks are called: left and right in a stereo document, else by number.
namespace TrackNames
{
QString name(int32_t track, int32_t numTracks);
/// A letter or number for the margin; empty in a mono document.
QString shortName(int32_t track, int32_t numTracks);
/// "Mono", "Stereo" or "6 channels".
QString channels(int32_t numTracks);
} // namespace TrackNames

} // namespace velloria
