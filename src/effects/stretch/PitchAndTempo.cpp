#include "effects/stretch/PitchAndTempo.h"

#include "document/clips/ClipWriter.h"
#include "effects/frame/CommonParameters.h"
#include "effects/stretch/PieceStretcher.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace velloria
{

namespace
{

const QString kKeyWord = QStringLiteral("pitchAndTempo");
/// Beyond, nothing of the sound is left.
constexpr double kMostStretch = 20.0;

std::vector<ParameterDescription> pitchDescriptions()
{
    namespace Common = CommonParameters;
    ParameterDescription pitch = Common::number(
        QStringLiteral("Pitch"), QStringLiteral("Semitones by which the sound becomes higher."),
        QStringLiteral("semitones"), -12.0, 12.0, 0.0);
    pitch.hardMinimum = -36.0;
    pitch.hardMaximum = 36.0;
    pitch.decimals = 0;
    Common::setKeys(pitch, kKeyWord, QStringLiteral("semitones"), QStringLiteral("Semitones"));
    ParameterDescription fine =
        Common::number(QStringLiteral("Fine"), QStringLiteral("Hundredths of a semitone that are added."),
                       QStringLiteral("cents"), -100.0, 100.0, 0.0);
    Common::setKeys(fine, kKeyWord, QStringLiteral("cents"), QStringLiteral("Cents"));
    return {pitch, fine};
}

ParameterDescription makeTempoBy()
{
    ParameterDescription by;
    by.kind = ParameterDescription::Kind::choice;
    by.name = QStringLiteral("Tempo by");
    by.summary = QStringLiteral("How the new tempo is given.");
    by.choices = {QStringLiteral("Percent"), QStringLiteral("Length"), QStringLiteral("Beats per minute")};
    CommonParameters::setKeys(by, kKeyWord, QStringLiteral("tempoBy"));
    return by;
}

std::vector<ParameterDescription> tempoDescriptions()
{
    namespace Common = CommonParameters;
    ParameterDescription percent =
        Common::number(QStringLiteral("Tempo"), QStringLiteral("200 % is twice as fast, half as long."),
                       QStringLiteral("%"), 50.0, 200.0, 100.0);
    percent.hardMinimum = 100.0 / kMostStretch;
    percent.hardMaximum = 100.0 * kMostStretch;
    Common::setKeys(percent, kKeyWord, QStringLiteral("tempo"), QStringLiteral("Tempo"));
    percent.usedWhen = ParameterCondition{PitchAndTempo::tempoBy, PitchAndTempo::byPercent};
    ParameterDescription seconds = Common::number(
        QStringLiteral("Length"), QStringLiteral("How long the selection becomes; 0 leaves it as it is."),
        QStringLiteral("s"), 0.0, 600.0, 0.0);
    seconds.hardMaximum = 1e6;
    seconds.decimals = 3;
    Common::setKeys(seconds, kKeyWord, QStringLiteral("length"), QStringLiteral("Length"));
    seconds.usedWhen = ParameterCondition{PitchAndTempo::tempoBy, PitchAndTempo::byLength};
    // What is left out chooses nothing: another key may have chosen.
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    seconds.scriptSwitch = ScriptSwitch{PitchAndTempo::tempoBy, PitchAndTempo::byLength, none};
    std::vector<ParameterDescription> list = {percent, seconds};
    for (const bool isAfter : {false, true}) {
        ParameterDescription beats =
            Common::number(isAfter ? QStringLiteral("Beats afterwards") : QStringLiteral("Beats before"),
                           isAfter ? QStringLiteral("Beats per minute that the sound should have.")
                                   : QStringLiteral("Beats per minute that the sound has."),
                           QStringLiteral("bpm"), 30.0, 300.0, 120.0);
        beats.hardMinimum = 1.0;
        beats.hardMaximum = 2000.0;
        beats.decimals = 2;
        Common::setKeys(beats, kKeyWord,
                        isAfter ? QStringLiteral("beatsAfter") : QStringLiteral("beatsBefore"),
                        isAfter ? QStringLiteral("BeatsAfter") : QStringLiteral("BeatsBefore"));
        beats.usedWhen = ParameterCondition{PitchAndTempo::tempoBy, PitchAndTempo::byBeats};
        if (isAfter)
            beats.scriptSwitch = ScriptSwitch{PitchAndTempo::tempoBy, PitchAndTempo::byBeats, none};
        list.push_back(beats);
    }
    return list;
}

std::vector<ParameterDescription> makeDescriptions()
{
    std::vector<ParameterDescription> list = pitchDescriptions();
    list.push_back(makeTempoBy());
    for (const ParameterDescription& parameter : tempoDescriptions())
        list.push_back(parameter);
    ParameterDescription keep;
    keep.kind = ParameterDescription::Kind::toggle;
    keep.name = QStringLiteral("Keep formants");
    keep.summary = QStringLiteral("A voice keeps its character when its pitch changes.");
    CommonParameters::setKeys(keep, kKeyWord, QStringLiteral("formants"), QStringLiteral("KeepFormants"));
    list.push_back(keep);
    return list;
}

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = makeDescriptions();
    return list;
}

} // namespace

PitchAndTempo::PitchAndTempo(const QString& name)
    : Filter(name, describeParameters())
{
}

const PresetFormat* PitchAndTempo::presetFormat() const
{
    using Type = PresetField::Type;
    static const PresetFormat format = {
        QStringLiteral("Pitch and Tempo"),
        {{fourCharCode("ptch"),
          200,
          {{Type::float64, semitones},
           {Type::float64, cents},
           {Type::int32, tempoBy},
           {Type::float64, tempo},
           {Type::float64, length},
           {Type::float64, beatsBefore},
           {Type::float64, beatsAfter},
           {Type::uint8, formants}}}},
        QStringLiteral("-[PitchAndTempo loadPresetData:] Invalid preset file")};
    return &format;
}

int64_t PitchAndTempo::outputNumFrames() const
{
    const auto before = static_cast<double>(numFrames());
    double wanted = before;
    switch (static_cast<int>(parameterValue(tempoBy))) {
    case byPercent:
        wanted = before * 100.0 / parameterValue(tempo);
        break;
    case byLength:
        if (parameterValue(length) > 0.0)
            wanted = parameterValue(length) * sampleRate();
        break;
    default:
        wanted = before * parameterValue(beatsBefore) / parameterValue(beatsAfter);
    }
    wanted = std::clamp(wanted, before / kMostStretch, before * kMostStretch);
    return std::max<int64_t>(1, std::llround(wanted));
}

StretchSettings PitchAndTempo::settings() const
{
    const auto before = static_cast<double>(std::max<int64_t>(1, numFrames()));
    const double octaves = (parameterValue(semitones) + parameterValue(cents) / 100.0) / 12.0;
    return {static_cast<double>(outputNumFrames()) / before, std::exp2(octaves), parameters().isOn(formants)};
}

void PitchAndTempo::parameterDidChange(size_t)
{
    mIsChanged = true;
}

void PitchAndTempo::processingWillBegin()
{
    Filter::processingWillBegin();
    mStream.reset();
    mIsChanged = false;
    mPassesThrough = false;
    mNumHeard = 0.0;
}

void PitchAndTempo::processingFinished()
{
    mStream.reset();
    mPassesThrough = false;
}

int64_t PitchAndTempo::heardFrame() const
{
    return mSource->loopStart() + static_cast<int64_t>(mNumHeard);
}

/// Puts the next frames of the sound into the stream; after its end silence, which pushes the last ones out.
void PitchAndTempo::feedStream()
{
    const size_t wanted = mStream->numFramesWanted();
    if (!Filter::requestDataWithNumFrames(wanted, mInput) || mInput.empty())
        mInput.assign(1, FloatBuffer(wanted, 0.0F));
    // The stretcher has as many tracks as are selected, even if one of them is not there.
    const size_t count = mInput.front().size();
    mInput.resize(static_cast<size_t>(numTracks()));
    for (FloatBuffer& track : mInput)
        track.resize(count, 0.0F);
    mStream->put({mInput.begin(), mInput.end()});
}

bool PitchAndTempo::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!mStream && !mPassesThrough) {
        mHeard = settings();
        mStream = SoundStretcher::forStream(sampleRate(), static_cast<size_t>(numTracks()), mHeard);
        mPassesThrough = !mStream;
    }
    if (mPassesThrough)
        return Filter::requestDataWithNumFrames(numFrames, block);
    if (std::exchange(mIsChanged, false)) {
        mHeard = settings();
        mStream->setSettings(mHeard);
    }
    const auto total = static_cast<double>(this->numFrames());
    const auto numLeft =
        static_cast<uint64_t>(std::ceil(std::max(0.0, total - mNumHeard) * mHeard.timeRatio));
    const uint64_t wanted = mSource->isLooping() ? numFrames : std::min(numFrames, numLeft);
    block.assign(static_cast<size_t>(numTracks()), FloatBuffer());
    while (block.front().size() < wanted) {
        mStream->take(block, wanted - block.front().size());
        if (block.front().size() < wanted)
            feedStream();
    }
    mNumHeard += static_cast<double>(wanted) / mHeard.timeRatio;
    if (mSource->isLooping() && total > 0.0)
        mNumHeard = std::fmod(mNumHeard, total);
    return wanted > 0;
}

MaybeError PitchAndTempo::processSelection(ClipWriter& writer, int64_t numAnalysed, int64_t numInPlace,
                                           int64_t numRinging)
{
    const StretchSettings wanted = settings();
    mPassesThrough = wanted.changesNothing();
    if (mPassesThrough)
        return Filter::processSelection(writer, numAnalysed, numInPlace, numRinging);
    PieceStretcher stretcher(sampleRate(), numFrames(), numInPlace, wanted);
    const auto read = [this](uint64_t count, SampleBlock& block) {
        return Filter::requestDataWithNumFrames(count, block);
    };
    const auto write = [&writer](const SampleBlock& block) { return writer.append(block); };
    while (!stretcher.isDone()) {
        if (MaybeError error = stretcher.processNext(read, write))
            return error;
        if (didReachProgress(stretcher.numWritten(), numInPlace))
            break;
    }
    return std::nullopt;
}

} // namespace velloria
