#pragma once

#include "effects/generators/Generator.h"

namespace velloria
{

/// A sine whose frequency another sine sweeps.
class FMGenerator : public Generator
{
public:
    static constexpr size_t kCarrier = kNumCommonParameters;
    static constexpr size_t kModulation = kCarrier + 1;
    static constexpr size_t kDeviation = kModulation + 1;

    explicit FMGenerator(const QString& name);

    void render(std::span<float> samples) override;

private:
    static const std::vector<ParameterDescription>& describeParameters();
};

} // namespace velloria
