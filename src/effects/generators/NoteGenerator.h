#pragma once

#include "effects/generators/Generator.h"

namespace velloria
{

/// A note of the scale of twelve equal steps, tuned by its A. It begins and ends within some milliseconds, so
/// that no click is heard.
class NoteGenerator : public Generator
{
public:
    static constexpr size_t kNote = kNumCommonParameters; ///< counted in semitones, 69 is the A of the tuning
    static constexpr size_t kTuning = kNote + 1;          ///< Hz
    static constexpr size_t kWaveShape = kTuning + 1;
    static constexpr int kNumNotes = 128;

    explicit NoteGenerator(const QString& name);

    void render(std::span<float> samples) override;

    /// In Hz.
    static double frequencyOfNote(int note, double tuningHz);
    /// "A4", "C#5".
    static QString nameOfNote(int note);
    /// Of a note that is spelled otherwise, with a flat ("Bb3" is "A#3") or with the signs of music; any
    /// other text is left as it is.
    static QString listedName(const QString& text);

private:
    static const std::vector<ParameterDescription>& describeParameters();
    double levelAt(int64_t frame) const;
};

} // namespace velloria
