#include "DecodedFileFuzz.h"
#include "formats/vorbis/OggVorbisFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    velloria::fuzz::openAndDecode<velloria::OggVorbisFile>(data, size);
    for (const bool isKept : {true, false})
        velloria::fuzz::editTags<velloria::OggVorbisFile>(data, size, isKept);
    return 0;
}
