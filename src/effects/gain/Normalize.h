#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// Scales the tracks so that their peak, or the level of their loudest stretch, reaches a target. An analysis
/// measures the level of each block of 8192 frames: the RMS level is that of the loudest 186 ms at 44.1 kHz.
class Normalize : public Filter
{
public:
    explicit Normalize(const QString& name);

    double targetLevelDB() const { return parameterValue(0); }
    /// Each track by its own level, or all by that of the loudest.
    bool isIndependent() const { return parameterValue(1) != 0.0; }
    bool usesRMS() const { return parameterValue(2) != 0.0; }
    const std::vector<float>& ampFactors() const { return mAmpFactors; }

    void setSource(std::shared_ptr<DocumentSource> source) override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    bool needsAnalysis() const override { return true; }

protected:
    void parameterDidChange(size_t index) override;
    void analysisWillBegin() override;
    void analyseBlock(std::span<const std::span<const float>> tracks) override;
    void analysisDidEnd() override { setFactors(); }
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;

private:
    void setFactors();

    // Largest level of a block, of each track. Both kinds, so that a preview can change from one to the
    // other.
    std::vector<double> mPeaks;
    std::vector<double> mRMSLevels;
    std::vector<float> mAmpFactors;
};

} // namespace velloria
