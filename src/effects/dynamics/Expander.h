#pragma once

#include "effects/dynamics/DynamicsEffect.h"

namespace velloria
{

/// Lowers what is softer than a threshold.
class Expander : public DynamicsEffect
{
public:
    explicit Expander(const QString& name);

    const PresetFormat* presetFormat() const override;

protected:
    /// Where an effect of this kind has its parameters; one without a ratio has it fixed.
    struct Places {
        size_t threshold = 0;
        std::optional<size_t> ratio;
        size_t attack = 0;
        size_t release = 0;
        size_t rms = 0;
    };

    Expander(const QString& name, const std::vector<ParameterDescription>& descriptions, const Places& places,
             double fixedRatio);
    static PresetLayout makePresetLayout(FourCharCode code, const Places& places);

    DynamicsEngine::Settings settings() const override;

private:
    static const std::vector<ParameterDescription>& describeParameters();
    static const Places kPlaces;

    const Places mPlaces;
    const double mFixedRatio;
};

} // namespace velloria
