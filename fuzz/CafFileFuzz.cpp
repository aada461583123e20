#include "DecodedFileFuzz.h"
#include "formats/caf/VLAFCoreAudioFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    velloria::fuzz::openAndDecode<velloria::VLAFCoreAudioFile>(data, size);
    return 0;
}
