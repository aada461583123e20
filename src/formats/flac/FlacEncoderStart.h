#pragma once

#include "formats/flac/FlacDescription.h"

#include <FLAC/stream_encoder.h>

namespace velloria::FlacEncoderStart
{

/// What the library calls while it encodes; seek and tell may be null.
struct Callbacks {
    FLAC__StreamEncoderWriteCallback write = nullptr;
    FLAC__StreamEncoderSeekCallback seek = nullptr;
    FLAC__StreamEncoderTellCallback tell = nullptr;
    void* client = nullptr;
};

/// Starts an encoder with the library's default settings. `packetFrames` is how long the library's frames
/// will be; 0 leaves that to it.
FLAC__StreamEncoderInitStatus start(FLAC__StreamEncoder& encoder, const FlacFormat& format, int64_t numFrames,
                                    int64_t packetFrames, const Callbacks& callbacks);

/// The error for a sound that the format cannot hold.
Error refusal(const FlacFormat& format);

} // namespace velloria::FlacEncoderStart
