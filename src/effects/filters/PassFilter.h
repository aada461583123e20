#pragma once

#include "effects/filters/CascadeFilter.h"

namespace velloria
{

/// Base of the filters that cut one end of the spectrum off: Butterworth's, 12 to 48 dB an octave.
class PassFilter : public CascadeFilter
{
public:
    enum Parameter : size_t { frequency, slope };

    std::vector<ResponseBand> responseBands() const override;

protected:
    static std::vector<ParameterDescription> makeDescriptions(const QString& keyWord, const QString& summary,
                                                              double defaultFrequency);
    PassFilter(const QString& name, const std::vector<ParameterDescription>& descriptions,
               AnalogFilters::Make make);

    std::vector<AnalogSection> sections() const override;

private:
    const AnalogFilters::Make mMake;
};

} // namespace velloria
