#include "formats/file/Id3SoundChange.h"

#include <algorithm>
#include <cmath>

namespace velloria
{

namespace
{

int64_t millisecondsOf(const AudioFile& file)
{
    constexpr double longest = 1e15;
    const double seconds = static_cast<double>(file.numberOfFrames()) / std::max(1.0, file.sampleRate());
    return std::llround(std::min(1000.0 * seconds, longest));
}

} // namespace

Id3SoundChange id3SoundChange(const AudioFile& opened, const AudioFile& writer)
{
    if (writer.keptSound())
        return {};
    Id3SoundChange change;
    change.isEncodedAnew = true;
    if (const int64_t milliseconds = millisecondsOf(writer); milliseconds != millisecondsOf(opened))
        change.milliseconds = milliseconds;
    return change;
}

} // namespace velloria
