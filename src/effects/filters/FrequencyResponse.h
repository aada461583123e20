#pragma once

#include <QString>
#include <cstddef>
#include <optional>
#include <vector>

namespace velloria
{

/// One band of an equaliser as a plot shows it: a handle at its frequency that moves its parameters.
struct ResponseBand {
    QString name;
    double frequency = 0.0; ///< Hz
    double gainDB = 0.0;
    std::optional<size_t> frequencyParameter; ///< what is moved sideways; nothing for a fixed frequency
    std::optional<size_t> gainParameter;      ///< what is moved up and down
    std::optional<size_t> widthParameter;     ///< what the wheel changes
    bool isOn = true;                         ///< false above what the sample rate can have
};

/// What an effect with a frequency response tells whoever draws it. Main thread, with the parameters as they
/// are now.
class FrequencyResponse
{
public:
    virtual ~FrequencyResponse() = default;

    /// In dB at a frequency in Hz.
    virtual double responseAt(double frequency) const = 0;
    virtual std::vector<ResponseBand> responseBands() const = 0;
    /// Half of the sample rate; above it there is no sound. Infinity without a sound.
    virtual double highestFrequency() const = 0;
    /// The list of points (frequency, dB, frequency, dB, ...) that may be drawn freely; nothing otherwise.
    virtual std::optional<size_t> curveParameter() const { return std::nullopt; }
    /// False for a parameter of a band that is off because the sample rate is too low for it.
    bool hasEffect(size_t parameter) const;
};

} // namespace velloria
