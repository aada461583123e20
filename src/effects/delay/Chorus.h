#pragma once

#include "effects/delay/Flanger.h"

namespace velloria
{

/// A flanger with longer delays, each track a quarter of a cycle ahead of the one before it.
class Chorus : public Flanger
{
public:
    explicit Chorus(const QString& name);

    const PresetFormat* presetFormat() const override;

private:
    static const std::vector<ParameterDescription>& describeParameters();
};

} // namespace velloria
