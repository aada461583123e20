#pragma once

#include "effects/frame/EffectRemark.h"
#include "effects/frame/ParameterDescription.h"

namespace velloria
{

/// The texts of effects, generators and factory presets in the language of the person.
namespace EffectWords
{
/// A text without a translation stays as it is.
QString word(const QString& english);
/// The title of an entry without its points.
QString title(const QString& menuTitle);
/// With an ellipsis where a dialog follows, and no mnemonic.
QString menuTitle(const QString& menuTitle);
/// With its numbers as they are written there.
QString said(const EffectRemark& remark);
/// Name, summary, unit and choices.
ParameterDescription translated(ParameterDescription parameter);
} // namespace EffectWords

} // namespace velloria
