#include "document/clips/SoundSelection.h"

#include "document/clips/FrameNumbers.h"

namespace velloria
{

int64_t frameAtTime(double seconds, double sampleRate)
{
    return roundedFrame(seconds * sampleRate);
}

} // namespace velloria
