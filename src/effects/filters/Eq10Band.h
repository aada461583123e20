#pragma once

#include "effects/filters/CascadeFilter.h"

namespace velloria
{

/// Ten bells, an octave wide and an octave apart. Parameters: the gain of each in dB, from 31.25 Hz to 16
/// kHz.
class Eq10Band : public CascadeFilter
{
public:
    static constexpr size_t kNumBands = 10;

    explicit Eq10Band(const QString& name);

    static double frequencyOfBand(size_t band);
    const PresetFormat* presetFormat() const override;
    std::vector<ResponseBand> responseBands() const override;

protected:
    std::vector<AnalogSection> sections() const override;
};

} // namespace velloria
