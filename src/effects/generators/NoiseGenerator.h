#pragma once

#include "effects/generators/Generator.h"
#include "effects/generators/TriangularNoise.h"

namespace velloria
{

/// White noise whose values are distributed in a triangle around 0.
class NoiseGenerator : public Generator
{
public:
    explicit NoiseGenerator(const QString& name);

    void setSeed(const std::vector<uint32_t>& seed) override { mSeed = seed; }
    void begin(double sampleRate) override;
    void render(std::span<float> samples) override;

private:
    static const std::vector<ParameterDescription>& describeParameters();

    std::vector<uint32_t> mSeed;
    TriangularNoise mNoise;
};

} // namespace velloria
