#pragma once

#include "formats/ledger/FileLedger.h"
#include "platform/FileHandle.h"

#include <QByteArray>
#include <optional>

namespace velloria
{

/// Sound of a WAVE file that is no plain PCM, with all that tells a decoder of it, as it stands in the file.
struct WaveEncoding {
    /// The payload of the chunk "fmt ".
    QByteArray format;
    /// That of "fact", the number of frames; empty where there is none.
    QByteArray fact;
    ByteRange sound;

    /// Nothing where the file is big-endian, or one of these is cut short or was never completed.
    static std::optional<WaveEncoding> ofFile(const FileHandle& handle);
};

} // namespace velloria
