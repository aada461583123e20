#pragma once

#include "effects/filters/BlockConvolver.h"
#include "effects/filters/FrequencyResponse.h"
#include "effects/frame/Filter.h"

#include <memory>
#include <vector>

namespace velloria
{

/// An equaliser whose response is a curve through points that are put anywhere (FreeCurve), of minimum phase.
/// It is a convolution, whose impulse response lasts long enough to tell bass notes apart. Level, it
/// leaves the samples as they are, bit for bit.
class GraphicEqualizer : public Filter, public FrequencyResponse
{
public:
    enum Parameter : size_t { points };

    explicit GraphicEqualizer(const QString& name);

    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    void processingFinished() override;
    int64_t latencyNumFrames() const override;
    int64_t lagNumFrames() const override;
    const PresetFormat* presetFormat() const override;

    double responseAt(double frequency) const override;
    std::vector<ResponseBand> responseBands() const override { return {}; }
    double highestFrequency() const override;
    std::optional<size_t> curveParameter() const override { return points; }

protected:
    void parameterDidChange(size_t index) override;

private:
    size_t blockNumFrames() const;
    BlockConvolver::Kernel makeKernel() const;

    std::unique_ptr<RealTransform> mTransform; ///< of two blocks; while it processes
    std::vector<BlockConvolver> mConvolvers;   ///< one a track
    bool mIsChanged = false;
};

} // namespace velloria
