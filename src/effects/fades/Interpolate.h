#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// Replaces the selection by a smooth bridge (half a cosine) between the samples at its two ends.
class Interpolate : public Filter
{
public:
    explicit Interpolate(const QString& name)
        : Filter(name)
    {
    }

    /// Reads the two samples of each track. It has nothing before the selection to hear, so the base is not
    /// asked.
    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

private:
    void readLevels();

    std::vector<float> mStartLevels;
    std::vector<float> mEndLevels;
    double mMark = 0.0;
    double mLength = 0.0;
    std::vector<double> mShares; ///< of the start level, of a block's frames
};

} // namespace velloria
