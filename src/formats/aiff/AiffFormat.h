#pragma once

#include "platform/Error.h"
#include "platform/FourCharCode.h"
#include "platform/codec/LinearPcm.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <optional>

namespace velloria
{

/// What the "COMM" chunk of an AIFF or AIFF-C file says. All fields are big-endian: channels (16 bits),
/// sample frames (32; in compressed AIFF-C files packets), bits per sample (16), sample rate (80-bit extended
/// float). AIFF-C adds the compression type (32) and its name (a length byte and text).
struct AiffFormat {
    uint16_t numChannels = 0;
    uint32_t numFrames = 0;
    uint16_t bitsPerSample = 0;
    double sampleRate = 0.0;
    /// Nothing in plain AIFF.
    std::optional<FourCharCode> compressionType;
    QString compressionName;

    /// Bytes that any chunk has, and those with a compression type.
    static constexpr int64_t plainLength = 18;
    static constexpr int64_t compressedLength = 22;

    /// The fields of a chunk's payload of at least plainLength bytes, or compressedLength for AIFF-C.
    static AiffFormat ofPayload(const QByteArray& payload, bool isCompressed);
    QByteArray payload() const;

    /// Why a file of this name cannot be read; nothing when its channels and rate make sense and, for plain
    /// AIFF, its samples have a size that can be read in place.
    MaybeError checked(const QString& name) const;

    /// True for integers and floats as they are, uncompressed.
    bool isLinear() const;
    /// True for floats, by the compression type.
    bool isFloat() const;
    /// Of integers and floats as they are: some types tell the width, all others leave it to the bits.
    LinearPcmLayout layout() const;
    /// "24-bit integer", "32-bit floating point", "IMA 4:1", "encoding QDMC", ...
    QString description() const;
};

} // namespace velloria
