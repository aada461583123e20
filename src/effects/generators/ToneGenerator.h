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

    /// From -1 to 1, a number of cycles after the start.
    static double valueAt(Shape shape, double cycles);

    void render(std::span<float> samples) override;

    static ParameterDescription waveShape();

private:
    static const std::vector<ParameterDescription>& describeParameters();
};

} // namespace velloria
