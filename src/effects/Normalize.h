#pragma once

#include "effects/Filter.h"

namespace velloria
{

/// Scales the tracks so that their peak, or the level of their loudest stretch, reaches a target. A first
/// pass measures, a second one scales. A preview uses what the last run measured.
class Normalize : public Filter
{
public:
    explicit Normalize(const QString& name);

    double targetLevelDB() const { return parameterValue(0); }
    /// Each track by its own level, or all by that of the loudest.
    bool isIndependent() const { return parameterValue(1) != 0.0; }
    bool usesRMS() const { return parameterValue(2) != 0.0; }
    const std::vector<float>& ampFactors() const { return mAmpFactors; }

    const std::vector<ParameterDescription>& parameters() const override;
    void setSource(std::shared_ptr<DocumentSource> source) override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    MaybeError apply() override;

protected:
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;

private:
    /// The largest block level of every track; progress runs from 0 to 0.5.
    std::vector<double> measureLevels(int64_t total);
    MaybeError scaleInto(ClipWriter& writer, int64_t total);
    void setFactorsForLevels(const std::vector<double>& levels);

    std::vector<float> mAmpFactors;
};

} // namespace velloria
