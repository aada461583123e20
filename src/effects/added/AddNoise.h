#pragma once

#include "effects/frame/Filter.h"
#include "effects/generators/TriangularNoise.h"

namespace velloria
{

/// Adds white noise, another one to each track. It hangs on the sound that it is added to, so that a batch
/// gives the same bytes each time and twice the effect is not twice the same noise.
class AddNoise : public Filter
{
public:
    explicit AddNoise(const QString& name);

    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

protected:
    void parameterDidChange(size_t index) override;

private:
    void seed(const SampleBlock& block);

    float mAmpFactor = 1.0F;
    std::vector<TriangularNoise> mNoises; ///< one a track; none before the first block
};

} // namespace velloria
