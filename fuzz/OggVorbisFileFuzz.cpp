#include "DecodedFileFuzz.h"
#include "formats/vorbis/OggVorbisFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    velloria::fuzz::openAndDecode<velloria::OggVorbisFile>(data, size);
    return 0;
}
