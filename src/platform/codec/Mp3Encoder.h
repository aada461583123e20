#pragma once

#include "platform/Error.h"
#include "platform/codec/LameLibrary.h"

#include <QByteArray>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace velloria
{

/// Encodes two channels of floats as MP3 of constant bit rate with LAME, in its default quality. In front of
/// the stream goes a packet that is no sound but tells players the delay and the length (infoPacket()); its
/// contents are known at the end. LAME would leave it out at low bit rates, where it does not fit into a
/// packet of the stream's size, and does not know the exact length where it changes the rate, so it is made
/// here. One thread at a time.
class Mp3Encoder
{
public:
    /// For packets that will stand among those of another stream: what LAME must not choose.
    struct Insert {
        bool isJointStereo = true;
        /// False for packets each of which can be decoded without what stands before it.
        bool hasReservoir = true;
        bool hasChecksums = false;
        /// False for long windows throughout, which overlap with those of packets that end and begin with
        /// such.
        bool hasShortWindows = true;
    };
    struct Options {
        int sampleRate = 44100;
        /// Bits per second.
        int64_t bitRate = 128000;
        /// Both channels are mixed to one.
        bool isMono = false;
        /// With it rate and channels stay as they are, whatever the bit rate.
        std::optional<Insert> insert;
    };
    /// What LAME makes of the options: at low bit rates it lowers the rate, and we write one channel; low
    /// rates have lower bit rates than others.
    struct Output {
        int sampleRate = 44100;
        int64_t bitRate = 128000;
        bool isMono = false;
    };
    /// Nothing when LAME is missing or refuses the options.
    static std::optional<Output> outputOf(const Options& options);

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
    /// The packet in front of the stream: of the same size, but with what players need only after finish().
    QByteArray infoPacket() const;

private:
    Mp3Encoder() = default;
    MaybeError configure(const Options& options);
    void configureMode(const Options& options);
    Output output() const;
    MaybeError give(int numBytes, const Sink& sink);

    lame_global_flags* mLame = nullptr;
    int mInputRate = 44100;
    int64_t mNumFramesIn = 0;
    int64_t mNumBytesOut = 0;
    uint16_t mChecksum = 0;
    /// LAME's own full scale, divided by the factor by which LAME would lower the level.
    float mFullScale = 32767.0F;
    std::vector<float> mLeft;
    std::vector<float> mRight;
    std::vector<unsigned char> mOutput;
};

} // namespace velloria
