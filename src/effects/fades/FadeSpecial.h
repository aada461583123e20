#pragma once

#include "effects/fades/Envelope.h"
#include "effects/frame/Filter.h"

namespace velloria
{

/// Fades along an envelope of points.
class FadeSpecial : public Filter
{
public:
    /// The parameter that holds the points.
    static constexpr size_t kDataPoints = 0;

    explicit FadeSpecial(const QString& name);

    const Envelope& envelope() const { return mEnvelope; }

    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    const PresetFormat* presetFormat() const override;

protected:
    void parameterDidChange(size_t index) override;

private:
    Envelope mEnvelope;
    float mMark = 0.0F; ///< frames done, in single precision as the positions are
    float mMax = 0.0F;
    std::vector<double> mLevels;
};

} // namespace velloria
