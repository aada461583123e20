#include "effects/filters/FrequencyResponse.h"

#include <algorithm>

namespace velloria
{

bool FrequencyResponse::hasEffect(size_t parameter) const
{
    const std::vector<ResponseBand> bands = responseBands();
    return std::none_of(bands.begin(), bands.end(), [parameter](const ResponseBand& band) {
        // One that is off by its own frequency can come back by it.
        return !band.isOn && (band.gainParameter == parameter || band.widthParameter == parameter);
    });
}

} // namespace velloria
