#pragma once

#include "formats/mpegframes/StereoMix.h"
#include "formats/saving/FrameFeed.h"
#include "platform/FileHandle.h"
#include "platform/codec/Mp3Encoder.h"

namespace velloria
{

/// Saves a range of a document as a stream of MP3 packets. One track becomes mono; several are summed to
/// stereo with their pan and volume. Reading and encoding overlap on two threads. Used once.
class Mp3Saver
{
public:
    Mp3Saver(const FrameSource& document, const SaveRange& range, int64_t bitRate);

    /// What the encoder is asked for.
    static Mp3Encoder::Options options(double sampleRate, int64_t numTracks, int64_t bitRate);

    /// Writes from an offset on, to the end of the file. Ends early with the first error, or the
    /// user-cancelled one.
    MaybeError run(FileHandle& file, int64_t offset, Progress& progress);

private:
    Mp3Encoder::Options mOptions;
    StereoMix mMix;
    FrameFeed mFeed;
};

} // namespace velloria
