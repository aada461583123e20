#include "DecodedFileFuzz.h"
#include "formats/flac/FLACFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    velloria::fuzz::openAndDecode<velloria::FLACFile>(data, size);
    for (const bool isKept : {true, false})
        velloria::fuzz::editTags<velloria::FLACFile>(data, size, isKept);
    return 0;
}
