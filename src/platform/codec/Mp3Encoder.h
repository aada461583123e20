#pragma once

#include "platform/Error.h"
#include "platform/codec/LameLibrary.h"

#include <QByteArray>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace velloria
{

/// Encodes two channels of floats as MP3 of constant bit rate with LAME, in its default quality. The stream
/// begins with a packet that is no sound but has room for what players need to know of the delay; its
/// contents are known at the end (infoPacket()) and go over the start of what was written. One thread at a
/// time.
class Mp3Encoder
{
public:
    struct Options {
        int sampleRate = 44100;
        /// Bits per second.
        int64_t bitRate = 128000;
        /// Both channels are mixed to one.
        bool isMono = false;
    };
    /// Takes encoded bytes as they get ready; they are valid during the call. Gives an error to stop.
    using Sink = std::function<MaybeError(std::span<const std::byte>)>;

    static bool isLameInstalled() { return LameLibrary::load() != nullptr; }

    /// Null with `error` filled when LAME is missing or refuses the options.
    static std::unique_ptr<Mp3Encoder> create(const Options& options, MaybeError* error);
    ~Mp3Encoder();
    Mp3Encoder(const Mp3Encoder&) = delete;
    Mp3Encoder& operator=(const Mp3Encoder&) = delete;

    /// Any number of frames, full scale being 1.0; both of the same length. What is no number is silence.
    MaybeError encode(std::span<const float> left, std::span<const float> right, const Sink& sink);
    /// What is left, filled up with silence to a whole packet.
    MaybeError finish(const Sink& sink);
    /// The first packet as it must be in the end; after finish().
    QByteArray infoPacket() const;

private:
    Mp3Encoder() = default;
    MaybeError configure(const Options& options);

    lame_global_flags* mLame = nullptr;
    /// LAME's own full scale, divided by the factor by which LAME would lower the level.
    float mFullScale = 32767.0F;
    std::vector<float> mLeft;
    std::vector<float> mRight;
    std::vector<unsigned char> mOutput;
};

} // namespace velloria
