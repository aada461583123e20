#pragma once

#include "platform/FileHandle.h"

#include <cstdint>
#include <optional>

namespace velloria
{

/// What the head of a page of an Ogg file tells: https://www.rfc-editor.org/rfc/rfc3533
struct OggPageHead {
    uint32_t serialNumber = 0;
    /// Of its stream.
    bool isFirst = false;
    int64_t bodyOffset = 0;
    int64_t end = 0;
};

/// Nothing where no page begins. The checksum is not looked at, and a cut page ends behind the file.
std::optional<OggPageHead> oggPageAt(const FileHandle& handle, int64_t offset);

/// Where the next page may begin at or behind `offset`, looked for up to `end`; `end` when there is none.
int64_t nextOggPage(const FileHandle& handle, int64_t offset, int64_t end);

} // namespace velloria
