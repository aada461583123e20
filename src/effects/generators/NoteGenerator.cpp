#include "effects/generators/NoteGenerator.h"

#include "effects/generators/ToneGenerator.h"

#include <QRegularExpression>
#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kNotesPerOctave = 12;
constexpr int kTunedNote = 69;
constexpr double kTuningHz = 440.0;
/// Longer than a cycle of most notes, shorter than anybody hears as a swell.
constexpr double kRampSeconds = 0.005;

} // namespace

const std::vector<ParameterDescription>& NoteGenerator::describeParameters()
{
    static const std::vector<ParameterDescription> list = [] {
        std::vector<ParameterDescription> made = commonDescriptions();
        ParameterDescription& note = made.emplace_back();
        note.kind = ParameterDescription::Kind::choice;
        note.name = QStringLiteral("Note");
        note.summary = QStringLiteral("Note and octave: A4, C#5 or Bb3.");
        for (int i = 0; i < kNumNotes; ++i)
            note.choices.append(nameOfNote(i));
        note.listedName = &NoteGenerator::listedName;
        note.defaultValue = kTunedNote;
        note.scriptDefaultValue = kTunedNote;
        note.settingsKey = QStringLiteral("insert.note");
        note.scriptKey = QStringLiteral("Note");
        ParameterDescription tuning =
            frequency(QStringLiteral("Tuning"), QStringLiteral("Frequency of the note A4."), kTuningHz,
                      QStringLiteral("tuning"), QStringLiteral("Tuning"));
        tuning.minimum = 400.0;
        tuning.maximum = 480.0;
        tuning.hardMinimum = 1.0;
        tuning.hardMaximum = 20000.0;
        tuning.decimals = 1;
        made.push_back(tuning);
        made.push_back(ToneGenerator::waveShape());
        return made;
    }();
    return list;
}

NoteGenerator::NoteGenerator(const QString& name)
    : Generator(name, describeParameters())
{
}

double NoteGenerator::frequencyOfNote(int note, double tuningHz)
{
    return tuningHz * std::exp2(static_cast<double>(note - kTunedNote) / kNotesPerOctave);
}

QString NoteGenerator::nameOfNote(int note)
{
    static constexpr std::array<const char*, kNotesPerOctave> kNames = {"C",  "C#", "D",  "D#", "E",  "F",
                                                                        "F#", "G",  "G#", "A",  "A#", "B"};
    const char* const name = kNames[static_cast<size_t>(note % kNotesPerOctave)];
    return QLatin1String(name) + QString::number(note / kNotesPerOctave - 1);
}

QString NoteGenerator::listedName(const QString& text)
{
    static const QRegularExpression pattern(QStringLiteral("^([A-Ga-g])([#b\u266f\u266d]?)(-?\\d)$"));
    static constexpr std::array<int, 7> kSemitonesOfLetters = {9, 11, 0, 2, 4, 5, 7};
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch())
        return text;
    const int letter = match.captured(1).at(0).toUpper().unicode() - u'A';
    const QString sign = match.captured(2);
    const int shift = sign.isEmpty() ? 0 : sign == u"#" || sign == u"\u266f" ? 1 : -1;
    const int octave = match.captured(3).toInt();
    const int note =
        (octave + 1) * kNotesPerOctave + kSemitonesOfLetters[static_cast<size_t>(letter)] + shift;
    return note >= 0 && note < kNumNotes ? nameOfNote(note) : text;
}

double NoteGenerator::levelAt(int64_t frame) const
{
    const double ramp = kRampSeconds * sampleRate();
    double level = static_cast<double>(frame) / ramp;
    if (length())
        level = std::min(level, static_cast<double>(*length() - 1 - frame) / ramp);
    return std::clamp(level, 0.0, 1.0);
}

void NoteGenerator::render(std::span<float> samples)
{
    const double factor = amplitude();
    const double hertz =
        frequencyOfNote(static_cast<int>(parameters().value(kNote)), parameters().value(kTuning));
    const auto shape = static_cast<ToneGenerator::Shape>(parameters().value(kWaveShape));
    const int64_t start = advance(samples.size());
    for (size_t i = 0; i < samples.size(); ++i) {
        const int64_t frame = start + static_cast<int64_t>(i);
        const double cycles = static_cast<double>(frame) * hertz / sampleRate();
        samples[i] = static_cast<float>(ToneGenerator::valueAt(shape, cycles) * factor * levelAt(frame));
    }
}

} // namespace velloria
