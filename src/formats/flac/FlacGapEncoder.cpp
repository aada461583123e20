#include "formats/flac/FlacGapEncoder.h"

#include "formats/flac/FlacEncoderStart.h"
#include "formats/flac/FlacPacketHead.h"
#include "formats/saving/IntegerFeed.h"

#include <algorithm>

namespace velloria
{

namespace
{

constexpr int64_t framesPerPass = int64_t{8} * 4096;

} // namespace

FlacGapEncoder::FlacGapEncoder(const FlacFormat& format, PacketTaker take)
    : mFormat(format)
    , mTake(std::move(take))
    , mEncoder(FLAC__stream_encoder_new())
{
}

FLAC__StreamEncoderWriteStatus FlacGapEncoder::write(const FLAC__StreamEncoder*, const FLAC__byte buffer[],
                                                     size_t numBytes, uint32_t numFrames, uint32_t,
                                                     void* client)
{
    FlacGapEncoder& encoder = *static_cast<FlacGapEncoder*>(client);
    // What it writes in front of a stream is not wanted.
    if (numFrames > 0 && !encoder.mError)
        encoder.mError = encoder.mTake(std::as_bytes(std::span(buffer, numBytes)));
    return encoder.mError ? FLAC__STREAM_ENCODER_WRITE_STATUS_FATAL_ERROR
                          : FLAC__STREAM_ENCODER_WRITE_STATUS_OK;
}

MaybeError FlacGapEncoder::encode(const TrackList& tracks, const SaveRange& range, int64_t packetFrames)
{
    // The last packet of a stream may be shorter than the library lets one ask for.
    const int64_t asked = std::max(packetFrames, FlacPacketHead::leastFrames);
    if (!mEncoder ||
        FlacEncoderStart::start(*mEncoder, mFormat, range.numFrames, asked,
                                {write, nullptr, nullptr, this}) != FLAC__STREAM_ENCODER_INIT_STATUS_OK)
        return takeError();
    IntegerFeed feed(tracks, range, framesPerPass, static_cast<int>(mFormat.bitsPerSample));
    bool isFine = true;
    while (isFine && feed.next())
        isFine = FLAC__stream_encoder_process(mEncoder.get(), feed.channels().data(),
                                              static_cast<uint32_t>(feed.numFrames()));
    isFine = FLAC__stream_encoder_finish(mEncoder.get()) && isFine;
    return isFine ? std::nullopt : takeError();
}

MaybeError FlacGapEncoder::takeError()
{
    const MaybeError error = std::exchange(mError, std::nullopt);
    return error ? error : FlacEncoderStart::refusal(mFormat);
}

} // namespace velloria
