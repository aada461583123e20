#pragma once

#include "effects/generators/Generator.h"

namespace velloria
{

/// A sine, square or triangle.
class ToneGenerator : public Generator
{
public:
    enum Shape { sine, square, triangle };
    static constexpr size_t kFrequency = kNumCommonParameters;
    static constexpr size_t kWaveShape = kFrequency + 1;

    explicit ToneGenerator(const QString& name);

    void render(std::span<float> samples) override;

private:
    static const std::vector<ParameterDescription>& describeParameters();
};

} // namespace velloria
