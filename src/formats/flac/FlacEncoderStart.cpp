#include "formats/flac/FlacEncoderStart.h"

namespace velloria::FlacEncoderStart
{

FLAC__StreamEncoderInitStatus start(FLAC__StreamEncoder& encoder, const FlacFormat& format, int64_t numFrames,
                                    int64_t packetFrames, const Callbacks& callbacks)
{
    const auto initialise = [&](bool isStreamable) {
        FLAC__stream_encoder_set_streamable_subset(&encoder, isStreamable);
        FLAC__stream_encoder_set_channels(&encoder, format.numChannels);
        FLAC__stream_encoder_set_bits_per_sample(&encoder, format.bitsPerSample);
        FLAC__stream_encoder_set_sample_rate(&encoder, format.sampleRate);
        FLAC__stream_encoder_set_total_samples_estimate(&encoder, static_cast<FLAC__uint64>(numFrames));
        if (packetFrames > 0)
            FLAC__stream_encoder_set_blocksize(&encoder, static_cast<uint32_t>(packetFrames));
        return FLAC__stream_encoder_init_stream(&encoder, callbacks.write, callbacks.seek, callbacks.tell,
                                                nullptr, callbacks.client);
    };
    const FLAC__StreamEncoderInitStatus status = initialise(true);
    // Rates and sizes that are out of the ordinary are only told in the file's header then, not in every
    // frame; every decoder of files can do with that.
    return status == FLAC__STREAM_ENCODER_INIT_STATUS_NOT_STREAMABLE ? initialise(false) : status;
}

Error refusal(const FlacFormat& format)
{
    return {Error::Code::failed, QStringLiteral("FLAC files cannot hold %1 channels of %2 bits at %3 Hz.")
                                     .arg(format.numChannels)
                                     .arg(format.bitsPerSample)
                                     .arg(format.sampleRate)};
}

} // namespace velloria::FlacEncoderStart
