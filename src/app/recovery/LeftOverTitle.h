#pragma once

#include "document/LeftOverSounds.h"

namespace velloria
{

/// LeftOverSound::title() in the person's language, as it is shown: "Take of 12:04, interview.wav".
QString leftOverTitle(const LeftOverSound& sound);

} // namespace velloria
