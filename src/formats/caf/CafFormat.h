#pragma once

#include "platform/Error.h"
#include "platform/FourCharCode.h"
#include "platform/codec/LinearPcm.h"

#include <QByteArray>
#include <QString>

namespace velloria
{

/// The audio description of a CAF file, 32 bytes, big-endian: sample rate (64-bit float), format ID, format
/// flags, bytes per packet, frames per packet, channels per frame, bits per channel (32 bits each).
struct CafFormat {
    static constexpr int64_t length = 32;
    static constexpr uint32_t flagFloat = 1;
    static constexpr uint32_t flagLittleEndian = 2;

    double sampleRate = 0.0;
    FourCharCode formatID = 0;
    uint32_t formatFlags = 0;
    uint32_t bytesPerPacket = 0;
    uint32_t framesPerPacket = 0;
    uint32_t numChannels = 0;
    uint32_t bitsPerChannel = 0;

    /// Of at least `length` bytes.
    static CafFormat ofPayload(const QByteArray& payload);
    QByteArray payload() const;

    /// Why a file of this name cannot be read; nothing when its rate and channels make sense and, for linear
    /// PCM, its samples have a size that can be read.
    MaybeError checked(const QString& name) const;

    bool isLinearPcm() const { return formatID == fourCharCode("lpcm"); }
    bool isFloat() const { return isLinearPcm() && (formatFlags & flagFloat); }
    /// Of linear PCM. Samples take the whole bytes that they have in the frame: 24 bits in four bytes are 32.
    LinearPcmLayout layout() const;
    /// The code that options and documents know the encoding by: for linear PCM, one of its width.
    FourCharCode dataFormat() const;
    /// "24-bit integer", "IMA 4:1", ...
    QString description() const;
};

} // namespace velloria
