#pragma once

#include "cli/subcommands/WaveformColumns.h"

#include <QImage>

namespace velloria
{

/// Draws a waveform, one lane a track, from top to bottom. Needs no display and draws no text.
namespace WaveformImage
{
/// Null when there is not enough memory.
QImage draw(const WaveformColumns& columns, int width, int height);
} // namespace WaveformImage

} // namespace velloria
