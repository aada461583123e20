#include "DecodedFileFuzz.h"
#include "formats/mpeg/AudioDataTransportStreamAACFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    velloria::fuzz::openAndDecode<velloria::AudioDataTransportStreamAACFile>(data, size);
    return 0;
}
