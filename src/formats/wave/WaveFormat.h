#pragma once

#include "formats/chunks/RiffChunkList.h"
#include "platform/Error.h"
#include "platform/FourCharCode.h"
#include "platform/codec/LinearPcm.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <optional>

namespace velloria
{

/// What the "fmt " chunk of a WAVE file says. All fields are little-endian (big-endian
/// in RIFX files): format tag, channels (16 bits
/// each), sample rate, bytes per second (32 each), block align, bits per sample (16 each), then for other
/// formats than PCM an extension.
struct WaveFormat {
    static constexpr uint16_t tagPCM = 1;
    static constexpr uint16_t tagFloat = 3;
    static constexpr uint16_t tagALaw = 6;
    static constexpr uint16_t tagMuLaw = 7;
    static constexpr uint16_t tagExtensible = 0xFFFE;
    static constexpr qsizetype pcmPayloadLength = 16;

    uint16_t formatTag = tagPCM;
    uint16_t numChannels = 0;
    uint32_t sampleRate = 0;
    uint16_t blockAlign = 0;
    /// As the field says; 0 when the format has none.
    uint16_t bitsPerSample = 0;
    /// The format tag that an extensible format stands for; else formatTag.
    uint16_t subFormatTag = tagPCM;
    /// Of an extensible format, a bit for each place of a speaker; 0 tells nothing.
    uint32_t channelMask = 0;
    /// Of an extensible format: how many bits of a sample are in use; 0 tells nothing.
    uint16_t validBits = 0;
    /// What stands behind the 16 bytes of a PCM format. Of an extensible one: its length, the valid bits (16
    /// bits each), the channel mask (32) and the 16 bytes of the sub-format.
    QByteArray extension;

    /// The fields of a chunk's payload, as far as it goes.
    static WaveFormat ofPayload(const QByteArray& payload,
                                ChunkByteOrder byteOrder = ChunkByteOrder::littleEndian);
    /// The 16 bytes of a PCM format, then the extension.
    QByteArray payload() const;
    /// This format, of plain integers, with the extension of another one whose samples are stored alike.
    WaveFormat withExtensionOf(const WaveFormat& other) const;

    /// Why a file of this name cannot be read; nothing when its channels and rate make sense and, for PCM,
    /// a frame can be cut into samples.
    MaybeError checked(const QString& name) const;

    bool isPCM() const { return formatTag == tagPCM; }
    /// True for integers and floats, whose width bitsPerSample tells.
    bool isLinear() const { return subFormatTag == tagPCM || subFormatTag == tagFloat; }
    bool isFloat() const { return subFormatTag == tagFloat; }
    /// How integers and floats of another tag than PCM are stored; nothing where they make no sense.
    std::optional<LinearPcmLayout> linearLayout(ChunkByteOrder byteOrder) const;
    /// PCM samples are as wide as their room in the frame: 24 bits in four bytes count as 32.
    uint32_t containerBits() const;
    /// PCM samples of up to 8 bits are unsigned. A width of 0 tells nothing: then the room decides.
    bool isOffsetEncoded() const;
    /// True when the channels are not what any program takes as many for: one centre, or left and right.
    bool hasUncommonSpeakers() const;
    /// True when the extension tells something of integers that a PCM format has no room for.
    bool tellsMoreThanPCM() const;
    FourCharCode dataFormat() const;
    /// "24-bit integer", "extensible (32-bit floating point)", "IMA ADPCM", ...
    QString description() const;
};

} // namespace velloria
