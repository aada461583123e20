#pragma once

#include "effects/frame/Filter.h"

namespace velloria
{

/// Multiplies every sample by a gain in dB.
class AmplifyVolume : public Filter
{
public:
    explicit AmplifyVolume(const QString& name);

    double gainDB() const { return parameterValue(0); }
    void setGainDB(double gainDB) { setParameterValue(0, gainDB); }

    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;

protected:
    void parameterDidChange(size_t index) override;
    ComputedClip::Function outputOfTrack(const AudioTrackPtr& track, size_t index) const override;

private:
    float mAmpFactor = 1.0F;
};

} // namespace velloria
