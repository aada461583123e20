#pragma once

#include "formats/file/AudioFile.h"
#include "formats/tagediting/Id3Edit.h"

namespace velloria
{

/// What a save with this writer does to the sound that a tag of the opened file may tell of.
Id3SoundChange id3SoundChange(const AudioFile& opened, const AudioFile& writer);

} // namespace velloria
