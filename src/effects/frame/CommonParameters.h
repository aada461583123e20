#pragma once

#include "effects/frame/ParameterDescription.h"

namespace velloria
{

/// Parameters that several effects have.
namespace CommonParameters
{

/// A level in dB, from silence to a little more than the sound has.
ParameterDescription level(const QString& name, const QString& summary, double defaultDB);

/// A number with the limits of its slider, which are its hard limits as well.
ParameterDescription number(const QString& name, const QString& summary, const QString& unit, double minimum,
                            double maximum, double defaultValue);

/// The gain of an equaliser's band in dB: flat unless somebody moves it.
ParameterDescription bandGain(const QString& name, const QString& summary);

/// A corner or centre in Hz that can be heard.
ParameterDescription frequency(const QString& name, const QString& summary, double defaultFrequency);

/// Whether an effect's tail is kept; off unless somebody wants it. `keyWord` is the effect's in settings.
ParameterDescription letItRing(const QString& keyWord);

/// The setting of a parameter, "filter.delayEcho.wetMix", and its key in scripts (empty: none).
void setKeys(ParameterDescription& parameter, const QString& keyWord, const QString& word,
             const QString& scriptKey = QString());

} // namespace CommonParameters

} // namespace velloria
