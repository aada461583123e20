#pragma once

#include "formats/ogg/OggHeaders.h"
#include "platform/Progress.h"

namespace velloria
{

/// Writes the file that `headers` were read from once more, from the start of an empty one, with other
/// packets in front of its sound. Where these fill more or fewer pages than before, the pages of the sound
/// get other numbers; damaged ones, and what stands between pages, are copied as they are.
MaybeError writeOggWithHeaders(const FileHandle& source, const OggHeaders& headers,
                               const QList<QByteArray>& packets, FileHandle& target, Progress& progress);

} // namespace velloria
