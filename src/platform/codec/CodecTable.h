#pragma once

#include "platform/FourCharCode.h"
#include "platform/codec/FFmpegLibraries.h"
#include "platform/codec/LinearPcm.h"

#include <optional>

namespace velloria
{

/// How one of FFmpeg's codecs is called here and how it is decoded.
struct CodecEntry {
    AVCodecID codecID;
    FourCharCode dataFormat;
    /// The decoder that is meant where there are several for one codec; null for the default one.
    const char* decoderName;
    /// True when each packet holds the same number of frames (those of Apple Lossless may hold fewer).
    bool hasEqualPackets;
};

/// Null for a codec that is not decoded here. Linear PCM, A-law and mu-law are in the table.
const CodecEntry* codecEntry(AVCodecID codecID);

/// How linear PCM of this codec is stored; nothing for any other codec.
std::optional<LinearPcmLayout> linearPcmLayout(AVCodecID codecID);

/// FFmpeg's names of all decoders that may run, separated by commas.
const char* decoderNames();

} // namespace velloria
