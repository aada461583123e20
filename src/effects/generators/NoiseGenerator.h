#pragma once

#include "effects/generators/Generator.h"
#include "effects/generators/TriangularNoise.h"

namespace velloria
{

/// White noise whose values are distributed in a triangle around 0. The same each time, so that a batch gives
/// the same bytes each time.
class NoiseGenerator : public Generator
{
public:
    explicit NoiseGenerator(const QString& name);

    void begin(double sampleRate) override;
    void render(std::span<float> samples) override;

private:
    static const std::vector<ParameterDescription>& describeParameters();

    TriangularNoise mNoise;
};

} // namespace velloria
