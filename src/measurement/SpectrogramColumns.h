#pragma once

#include "document/clips/AudioTrack.h"
#include "platform/fft/RealTransform.h"

#include <cstdint>
#include <vector>

namespace velloria
{

/// What frequencies stand at which height of a spectrogram: 0 is its lower edge, 1 its upper one, half of the
/// rate.
struct FrequencyAxis {
    double sampleRate = 44100;
    bool isLogarithmic = true;

    double lowest() const;
    double highest() const { return sampleRate / 2.0; }
    double frequencyAt(double share) const;
    double shareOf(double frequency) const;

    bool operator==(const FrequencyAxis&) const = default;
};

/// Computes columns of a spectrogram. One object may be used by several threads at once.
class SpectrogramColumns
{
public:
    static constexpr size_t numRows = 256;
    /// What the smallest byte means; the largest is full scale.
    static constexpr double lowestLevelDB = -120.0;

    explicit SpectrogramColumns(const FrequencyAxis& axis);

    /// Columns of `framesPerColumn` frames each, one after another, numRows bytes a column from the lowest
    /// frequency on. Column 0 begins at frame 0. A column stands for the loudest of up to four pieces of 46
    /// ms spread over it.
    std::vector<uint8_t> levels(const AudioTrack& track, int64_t firstColumn, size_t numColumns,
                                double framesPerColumn) const;

private:
    /// The bins that a row stands for: all from `first` to before `end`, or, where rows are closer than bins,
    /// a point between two of them.
    struct Row {
        size_t first = 0;
        size_t end = 0;
        float between = 0.0F;
    };

    static size_t sizeAtRate(double sampleRate);
    void addRows(const FrequencyAxis& axis);
    float powerOfRow(const Row& row, const std::vector<float>& powers) const;

    RealTransform mTransform;
    std::vector<float> mWeights;
    std::vector<Row> mRows;
};

} // namespace velloria
