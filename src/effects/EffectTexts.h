#pragma once

#include <QStringList>

namespace velloria
{

/// What effects, generators and their presets say to a person. They say it in English and know of no
/// language; who shows them has each text translated, which is named by itself.
namespace EffectTexts
{
/// A menu title without the points that tell of a dialog.
QString withoutPoints(QString title);
/// Every text, each once: titles, groups and summaries, names, units and choices of parameters, factory
/// presets.
QStringList all();
} // namespace EffectTexts

} // namespace velloria
