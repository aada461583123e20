#include "effects/dynamics/Expander.h"

namespace velloria
{

const Expander::Places Expander::kPlaces = {0, 1, 2, 3, 4};

const std::vector<ParameterDescription>& Expander::describeParameters()
{
    static const std::vector<ParameterDescription> list = [] {
        const Kind kind = {QStringLiteral("expander"), DynamicsEngine::Law::expand,
                           QStringLiteral("What is softer becomes softer still."), 0.02, 0.2};
        return std::vector<ParameterDescription>{
            makeThreshold(kind),
            makeRatio(kind, 5.0,
                      QStringLiteral("By how many dB the gain falls for each that the level falls.")),
            makeAttack(kind), makeRelease(kind), makeRms(kind)};
    }();
    return list;
}

PresetLayout Expander::makePresetLayout(FourCharCode code, const Places& places)
{
    using Type = PresetField::Type;
    PresetLayout layout{code, 200, {{Type::float64, places.threshold}}};
    layout.fields.push_back({Type::float64, places.attack, 1000.0});
    layout.fields.push_back({Type::float64, places.release, 1000.0});
    if (places.ratio)
        layout.fields.push_back({Type::float64, *places.ratio});
    layout.fields.push_back({Type::uint8, places.rms});
    return layout;
}

Expander::Expander(const QString& name)
    : Expander(name, describeParameters(), kPlaces, 1.0)
{
}

Expander::Expander(const QString& name, const std::vector<ParameterDescription>& descriptions,
                   const Places& places, double fixedRatio)
    : DynamicsEffect(name, descriptions, DynamicsEngine::Law::expand)
    , mPlaces(places)
    , mFixedRatio(fixedRatio)
{
}

const PresetFormat* Expander::presetFormat() const
{
    static const PresetFormat format = {QStringLiteral("Expander"),
                                        {makePresetLayout(fourCharCode("expn"), kPlaces)},
                                        QStringLiteral("-[Expander loadPresetData:] Invalid preset file")};
    return &format;
}

DynamicsEngine::Settings Expander::settings() const
{
    return {parameters().isOn(mPlaces.rms),
            parameterValue(mPlaces.threshold),
            mPlaces.ratio ? parameterValue(*mPlaces.ratio) : mFixedRatio,
            parameterValue(mPlaces.attack),
            parameterValue(mPlaces.release),
            1.0};
}

} // namespace velloria
