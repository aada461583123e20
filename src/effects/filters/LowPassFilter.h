#pragma once

#include "effects/filters/PassFilter.h"

namespace velloria
{

/// Takes away what lies above a frequency.
class LowPassFilter : public PassFilter
{
public:
    explicit LowPassFilter(const QString& name);

private:
    static const std::vector<ParameterDescription>& describeParameters();
};

} // namespace velloria
