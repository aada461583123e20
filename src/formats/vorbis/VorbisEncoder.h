#pragma once

#include "formats/ogg/OggPageWriter.h"
#include "formats/tags/VorbisComments.h"

#include <vorbis/codec.h>

namespace velloria
{

/// How an Ogg Vorbis file is encoded.
struct VorbisSettings {
    int numChannels = 2;
    int sampleRate = 44100;
    /// Bits per second on average; the quality counts when it is 0.
    int64_t bitRate = 0;
    /// -0.1 to 1.
    float quality = 0.6F;
};

/// Encodes floats as one Vorbis stream in an Ogg file. One thread at a time.
class VorbisEncoder
{
public:
    VorbisEncoder(std::shared_ptr<FileHandle> handle, const VorbisSettings& settings, int serialNumber);
    ~VorbisEncoder();
    VorbisEncoder(const VorbisEncoder&) = delete;
    VorbisEncoder& operator=(const VorbisEncoder&) = delete;

    static bool canEncode(const VorbisSettings& settings);
    /// The bits per second that a file says of itself; 0 when the settings cannot be encoded.
    static int64_t nominalBitRate(const VorbisSettings& settings);

    /// Writes the headers. An error when the encoder does not take the settings.
    MaybeError start(const QList<VorbisComments::Entry>& comments);
    /// Frames in the order of tracks. What the encoder makes of the sound's start depends a little on how
    /// many frames come at once.
    MaybeError encode(std::span<const float> interleaved);
    /// Encodes what is left and ends the stream.
    MaybeError finish();

private:
    /// Gives the library's status.
    static int setUp(vorbis_info& info, const VorbisSettings& settings);
    Error refusal() const;
    void writeHeaders(const QList<VorbisComments::Entry>& comments);
    void writeBlocks();

    const VorbisSettings mSettings;
    OggPageWriter mPages;
    vorbis_info mInfo = {};
    vorbis_dsp_state mState = {};
    vorbis_block mBlock = {};
    bool mHasStarted = false;
};

} // namespace velloria
