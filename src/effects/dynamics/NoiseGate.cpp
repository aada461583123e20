#include "effects/dynamics/NoiseGate.h"

namespace velloria
{

namespace
{

constexpr double kRatio = 25.0;

} // namespace

const Expander::Places NoiseGate::kPlaces = {0, std::nullopt, 1, 2, 3};

const std::vector<ParameterDescription>& NoiseGate::describeParameters()
{
    static const std::vector<ParameterDescription> list = [] {
        const Kind kind = {QStringLiteral("noiseGate"), DynamicsEngine::Law::expand,
                           QStringLiteral("What is softer is shut out."), 0.02, 0.2};
        return std::vector<ParameterDescription>{makeThreshold(kind), makeAttack(kind), makeRelease(kind),
                                                 makeRms(kind)};
    }();
    return list;
}

NoiseGate::NoiseGate(const QString& name)
    : Expander(name, describeParameters(), kPlaces, kRatio)
{
}

const PresetFormat* NoiseGate::presetFormat() const
{
    static const PresetFormat format = {QStringLiteral("Noise Gate"),
                                        {makePresetLayout(fourCharCode("nois"), kPlaces)},
                                        QStringLiteral("-[NoiseGate loadPresetData:] Invalid preset file")};
    return &format;
}

} // namespace velloria
