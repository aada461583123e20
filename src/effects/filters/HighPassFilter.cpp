#include "effects/filters/HighPassFilter.h"

namespace velloria
{

HighPassFilter::HighPassFilter(const QString& name)
    : PassFilter(name, describeParameters(), AnalogSection::highPass)
{
}

const std::vector<ParameterDescription>& HighPassFilter::describeParameters()
{
    static const std::vector<ParameterDescription> list =
        makeDescriptions(QStringLiteral("highPassFilter"),
                         QStringLiteral("What lies below it is taken away; there it is 3 dB softer."), 80.0);
    return list;
}

} // namespace velloria
