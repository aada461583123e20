#pragma once

#include "effects/filters/CascadeFilter.h"

namespace velloria
{

/// A low shelf, a bell and a high shelf.
class Eq3Band : public CascadeFilter
{
public:
    enum Parameter : size_t {
        lowGain,
        lowFrequency,
        midGain,
        midFrequency,
        midQ,
        highGain,
        highFrequency,
    };

    explicit Eq3Band(const QString& name);

    const PresetFormat* presetFormat() const override;
    std::vector<ResponseBand> responseBands() const override;

protected:
    std::vector<AnalogSection> sections() const override;
};

} // namespace velloria
