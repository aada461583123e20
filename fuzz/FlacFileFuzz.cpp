#include "DecodedFileFuzz.h"
#include "formats/flac/FLACFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    velloria::fuzz::openAndDecode<velloria::FLACFile>(data, size);
    return 0;
}
