#include "effects/filters/LowPassFilter.h"

namespace velloria
{

LowPassFilter::LowPassFilter(const QString& name)
    : PassFilter(name, describeParameters(), AnalogSection::lowPass)
{
}

const std::vector<ParameterDescription>& LowPassFilter::describeParameters()
{
    static const std::vector<ParameterDescription> list = makeDescriptions(
        QStringLiteral("lowPassFilter"),
        QStringLiteral("What lies above it is taken away; there it is 3 dB softer."), 10000.0);
    return list;
}

} // namespace velloria
