#include "DecodedFileFuzz.h"
#include "InPlaceFileFuzz.h"
#include "formats/plain/NeXTSunFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (!velloria::fuzz::openInPlace<velloria::NeXTSunFile>(data, size))
        velloria::fuzz::openAndDecode<velloria::NeXTSunFile>(data, size);
    return 0;
}
