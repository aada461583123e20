#pragma once

#include "effects/filters/PassFilter.h"

namespace velloria
{

/// Takes away what lies below a frequency.
class HighPassFilter : public PassFilter
{
public:
    explicit HighPassFilter(const QString& name);

private:
    static const std::vector<ParameterDescription>& describeParameters();
};

} // namespace velloria
