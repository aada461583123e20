#pragma once

#include "formats/comments/VorbisCommentPacket.h"
#include "formats/ogg/OggPageWriter.h"

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

    /// Writes the headers; the comments name the library as what encoded the sound. An error when the encoder
    /// does not take the settings.
    MaybeError start(VorbisCommentPacket& comments);
    /// What an entry calls this program, as the maker of such files.
    static QByteArray encoderName() { return QByteArrayLiteral("Velloria, libVorbis 1.3.1"); }
    /// Frames in the order of tracks. What the encoder makes of the sound's start depends a little on how
    /// many frames come at once.
    MaybeError encode(std::span<const float> interleaved);
    /// Encodes what is left and ends the stream.
    MaybeError finish();

private:
    /// Gives the library's status.
    static int setUp(vorbis_info& info, const VorbisSettings& settings);
    Error refusal() const;
    void writeHeaders(VorbisCommentPacket& comments);
    void writeBlocks();

    const VorbisSettings mSettings;
    OggPageWriter mPages;
    vorbis_info mInfo = {};
    vorbis_dsp_state mState = {};
    vorbis_block mBlock = {};
    bool mHasStarted = false;
};

} // namespace velloria
