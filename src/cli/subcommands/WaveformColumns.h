#pragma once

#include "document/SoundDocument.h"

#include <vector>

namespace velloria
{

/// The picture of a range of a document in numbers: for each track, (min, max) pairs in columns of equal
/// length.
struct WaveformColumns {
    double sampleRate = 0;
    int64_t numFrames = 0; ///< of the whole document
    int64_t startFrame = 0;
    int64_t endFrame = 0;
    std::vector<FloatBuffer> tracks;

    size_t numColumns() const { return tracks.empty() ? 0 : tracks.front().size() / 2; }

    /// At most `maxColumns` columns, and at most one a frame. Columns of 512 frames and more are taken from
    /// the summary, which is filled first by reading the file; shorter ones from the samples. Cancelling
    /// leaves out what was not read.
    static WaveformColumns ofDocument(const SoundDocument& document, const SoundSelection& range,
                                      int maxColumns, Progress& progress);

    QByteArray json() const;
};

} // namespace velloria
