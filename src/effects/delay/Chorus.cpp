#include "effects/delay/Chorus.h"

namespace velloria
{

const std::vector<ParameterDescription>& Chorus::describeParameters()
{
    static const std::vector<ParameterDescription> list =
        makeDescriptions({QStringLiteral("chorus"), 2.0, 10.0, 15.0});
    return list;
}

Chorus::Chorus(const QString& name)
    : Flanger(name, describeParameters(), 0.25)
{
}

const PresetFormat* Chorus::presetFormat() const
{
    static const PresetFormat format = makePresetFormat(QStringLiteral("Chorus"));
    return &format;
}

} // namespace velloria
