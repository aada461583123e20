#pragma once

#include "effects/frame/EffectParameters.h"
#include "platform/Error.h"
#include "platform/FourCharCode.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// One value of a preset's record.
struct PresetField {
    /// `rest` is a list of 64-bit floats up to the record's end.
    enum class Type { float64, float32, int32, uint8, rest };

    Type type = Type::float64;
    size_t parameter = 0;
    double factor = 1; ///< from the parameter to what is stored: 1000 for seconds in milliseconds
};

/// A record: code and version (32 bits each), then the fields, all big-endian and without gaps.
struct PresetLayout {
    FourCharCode code = 0;
    int32_t version = 0;
    std::vector<PresetField> fields;
};

/// How an effect keeps its parameters in preset files.
struct PresetFormat {
    QString folderName;                ///< of its presets, "Delay"
    std::vector<PresetLayout> layouts; ///< all that are read; the first is the one that is written
    QString mismatchMessage;           ///< logged for a record of another layout; empty: nothing is
};

namespace PresetRecord
{
QByteArray write(const PresetFormat& format, const EffectParameters& parameters);

/// Sets the parameters; a record with another code or version, one that is cut short or one with a value
/// that is no number is an error and changes nothing. Bytes after the last field do not matter.
MaybeError read(const PresetFormat& format, const QByteArray& record, EffectParameters& parameters);
/// Why read() would refuse the record; nothing when it would not.
MaybeError refusal(const PresetFormat& format, const QByteArray& record, const EffectParameters& parameters);
} // namespace PresetRecord

} // namespace velloria
