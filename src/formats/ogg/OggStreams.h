#pragma once

#include "platform/FileHandle.h"

#include <QByteArray>
#include <optional>
#include <vector>

namespace velloria
{

/// What stands in the pages of an Ogg file, as far as it tells which library can read it.
namespace OggStreams
{

struct Start {
    uint32_t serialNumber = 0;
    /// Of the first packet, which names the codec.
    QByteArray firstBytes;
};

/// How FLAC's first packet begins.
inline const QByteArray flacStart = QByteArrayLiteral("\x7F"
                                                      "FLAC");

/// The streams that begin at the start of the file, side by side; none in a file of another type.
std::vector<Start> startsIn(const FileHandle& handle);

/// The first stream whose first packet begins like this.
std::optional<Start> startWith(const std::vector<Start>& starts, const QByteArray& firstBytes);

/// False when the last page of the file is not the last one of its stream: something is missing then.
bool isComplete(const FileHandle& handle);

} // namespace OggStreams

} // namespace velloria
