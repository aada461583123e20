#pragma once

#include "platform/FileHandle.h"

#include <set>

namespace velloria
{

/// What the pages of an Ogg file tell of sound that the decoders do not give: these drop a page whose
/// checksum is wrong without a word, and take what comes after it for the start when it was the first one.
struct OggPageCheck {
    /// A page of the streams that are read is damaged or missing.
    bool isPageLost = false;
    /// The undamaged pages of one stream, or a damaged one, promise sound.
    bool isSoundPromised = false;

    /// Reads all pages from the start to `end` (0: that of the file) and compares their checksums and
    /// numbers. A stream whose sound begins at a later number than its headers end is none that lost pages,
    /// unless there is something damaged in between: so begins what was recorded from a broadcast.
    static OggPageCheck ofFile(const FileHandle& handle, const std::set<uint32_t>& serialNumbersRead,
                               int64_t end = 0);
};

} // namespace velloria
