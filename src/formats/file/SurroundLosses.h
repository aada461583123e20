#pragma once

#include <QStringList>
#include <cstdint>

namespace velloria
{

/// For AudioFile::soundLosses() of a format whose encoder takes six tracks for 5.1, and eight for 7.1 where
/// `knowsEight`: the fourth of them is the channel for low frequencies, which is all that it keeps.
QStringList surroundLosses(uint32_t numChannels, bool knowsEight);

} // namespace velloria
