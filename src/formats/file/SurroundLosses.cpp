#include "formats/file/SurroundLosses.h"

namespace velloria
{

QStringList surroundLosses(uint32_t numChannels, bool knowsEight)
{
    constexpr uint32_t tracksOf51 = 6;
    constexpr uint32_t tracksOf71 = 8;
    if (numChannels != tracksOf51 && !(knowsEight && numChannels == tracksOf71))
        return {};
    return {QStringLiteral("%1 tracks are saved as surround sound: the fourth keeps low frequencies only.")
                .arg(numChannels)};
}

} // namespace velloria
