#pragma once

#include "effects/dynamics/DynamicsEngine.h"
#include "effects/frame/Filter.h"

#include <optional>

namespace velloria
{

/// Base of the effects whose gain follows the level. They start from silence, each track by itself.
class DynamicsEffect : public Filter
{
public:
    void processingWillBegin() override;
    bool requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block) override;
    bool lowersGain() const override { return true; }
    float takeLowestGain() override { return mEngine.takeLowestGain(); }

protected:
    /// What another effect of this kind has different.
    struct Kind {
        QString keyWord; ///< of its settings
        DynamicsEngine::Law law;
        QString thresholdSummary;
        double attackSeconds = 0;
        double releaseSeconds = 0;
    };
    static ParameterDescription makeThreshold(const Kind& kind);
    static ParameterDescription makeRatio(const Kind& kind, double defaultValue, const QString& summary);
    static ParameterDescription makeAttack(const Kind& kind);
    static ParameterDescription makeRelease(const Kind& kind);
    static ParameterDescription makeRms(const Kind& kind);

    DynamicsEffect(const QString& name, const std::vector<ParameterDescription>& descriptions,
                   DynamicsEngine::Law law);

    virtual DynamicsEngine::Settings settings() const = 0;
    void parameterDidChange(size_t index) override;

private:
    void setUpFactors();

    DynamicsEngine mEngine;
};

} // namespace velloria
