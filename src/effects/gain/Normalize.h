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
    /// Silence cannot be brought to any level.
    std::optional<EffectRemark> remark() const override;

protected:
    void parameterDidChange(size_t index) override;
    void analysisWillBegin() override;
    void analyseBlock(std::span<const std::span<const float>> tracks) override;
    void analysisDidEnd() override { setFactors(); }
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;

private:
    void setFactors();
    /// What a track is brought to the target with by the level that counts for it; nothing for silence, and
    /// for noise so far below anything audible that no float holds such a gain.
    std::optional<float> factorForTrack(size_t track) const;
    const std::vector<double>& levels() const { return usesRMS() ? mRMSLevels : mPeaks; }

    // Largest level of a block, of each track. Both kinds, so that a preview can change from one to the
    // other.
    std::vector<double> mPeaks;
    std::vector<double> mRMSLevels;
    std::vector<float> mAmpFactors;
};

} // namespace velloria
