#pragma once

#include "platform/codec/StreamDescription.h"

#include <QString>
#include <optional>

namespace velloria
{

/// What is fixed about a data format, whatever the file it stands in. Answers come from a table; nothing is
/// loaded.
struct AudioFormatInfo {
    FourCharCode formatID = 0;
    /// For a person, and for the compression name of an AIFF-C file.
    QString name;
    /// Frames in every packet; 0 where packets differ.
    uint32_t framesPerPacket = 0;
    /// Bytes per packet and channel; 0 where packets differ.
    uint32_t bytesPerPacketAndChannel = 0;
    /// Bits per sample where each sample is stored by itself, else 0.
    uint32_t bitsPerChannel = 0;
};

/// Nothing for a format that is not in the table.
std::optional<AudioFormatInfo> audioFormatInfo(FourCharCode formatID);

/// Bits per sample of an Apple Lossless source by its format flags: 1, 2, 3, 4 are 16, 20, 24, 32; any other
/// number is 16.
uint32_t appleLosslessBits(uint32_t formatFlags);
/// The other way round; 0 for another number of bits.
uint32_t appleLosslessFlags(uint32_t bits);

} // namespace velloria
