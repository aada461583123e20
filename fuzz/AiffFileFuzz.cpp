#include "DecodedFileFuzz.h"
#include "InPlaceFileFuzz.h"
#include "formats/aiff/AifcFile.h"
#include "formats/aiff/AiffFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    velloria::fuzz::openInPlace<velloria::AiffFile>(data, size);
    if (!velloria::fuzz::openInPlace<velloria::AifcFile>(data, size))
        velloria::fuzz::openAndDecode<velloria::AifcFile>(data, size);
    return 0;
}
