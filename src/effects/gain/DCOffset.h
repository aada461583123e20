#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// Removes a constant offset, which it follows with a time constant of a fortieth of a second, or adds one.
class DCOffset : public Filter
{
public:
    static constexpr size_t kAutoRemove = 0;
    static constexpr size_t kOffset = 1;

    explicit DCOffset(const QString& name);

    /// Starts from an offset of 0. It has no look-ahead, so the base is not asked.
    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

private:
    void removeOffsets(SampleBlock& block);

    std::vector<float> mOffsets; ///< of each track, of the opposite sign
    double mFactor = 0.0;
};

} // namespace velloria
