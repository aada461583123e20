#pragma once

#include "effects/dynamics/Expander.h"

namespace velloria
{

/// An expander so steep that what is softer than the threshold is as good as gone.
class NoiseGate : public Expander
{
public:
    explicit NoiseGate(const QString& name);

    const PresetFormat* presetFormat() const override;

private:
    static const std::vector<ParameterDescription>& describeParameters();
    static const Places kPlaces;
};

} // namespace velloria
