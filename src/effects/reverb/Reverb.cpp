#include "effects/reverb/Reverb.h"

#include "effects/frame/CommonParameters.h"
#include "platform/DispatchQueue.h"

#include <algorithm>

namespace velloria
{

namespace
{

/// Shorter blocks cost less than to wake another core for them.
constexpr size_t kLeastFramesToShare = 1024;
/// A room rings on until it is this soft,
constexpr double kSilenceDB = -100.0;
/// or for so long. Six combs together can be louder than one by 16 dB.
constexpr double kLongestTailSeconds = 60.0;
constexpr double kSumOfCombsDB = 16.0;
/// The level that a decay ends at, and so the softest room: any softer one would grow instead of decaying.
constexpr double kDecayedDB = -60.0;

std::vector<ParameterDescription> makeDescriptions()
{
    namespace Common = CommonParameters;
    const QString keyWord = QStringLiteral("reverb");
    ParameterDescription size =
        Common::number(QStringLiteral("Room size"),
                       QStringLiteral("How long the sound takes from wall to wall: 1 is 5 to 8 ms."),
                       QString(), 1.0, 40.0, 10.0);
    size.hardMinimum = 0.1;
    size.hardMaximum = 1000.0;
    Common::setKeys(size, keyWord, QStringLiteral("roomSize"), QStringLiteral("RoomSize"));
    ParameterDescription time =
        Common::number(QStringLiteral("Decay"), QStringLiteral("How long the room takes to fall silent."),
                       QStringLiteral("s"), 0.1, 10.0, 2.0);
    time.hardMinimum = 0.001;
    time.hardMaximum = 1000.0;
    time.decimals = 2;
    Common::setKeys(time, keyWord, QStringLiteral("decay"), QStringLiteral("Decay"));
    ParameterDescription corner = Common::number(
        QStringLiteral("Color"), QStringLiteral("Walls that swallow what is higher make the room dull."),
        QStringLiteral("Hz"), 100.0, 20000.0, 12800.0);
    corner.hardMinimum = 1.0;
    corner.hardMaximum = 1e6;
    corner.decimals = 0;
    Common::setKeys(corner, keyWord, QStringLiteral("color"), QStringLiteral("Color"));
    ParameterDescription level = Common::level(QStringLiteral("Room level"),
                                               QStringLiteral("Level of the room under the sound."), -20.0);
    level.minimum = kDecayedDB;
    level.hardMinimum = kDecayedDB;
    Common::setKeys(level, keyWord, QStringLiteral("level"), QStringLiteral("Wet"));
    return {size, time, corner, level, Common::letItRing(keyWord)};
}

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = makeDescriptions();
    return list;
}

} // namespace

Reverb::Reverb(const QString& name)
    : Filter(name, describeParameters())
{
}

const PresetFormat* Reverb::presetFormat() const
{
    using Type = PresetField::Type;
    static const PresetFormat format = {QStringLiteral("Reverb"),
                                        {{fourCharCode("rvrb"),
                                          200,
                                          {{Type::float64, roomSize},
                                           {Type::float64, decay, 1000.0},
                                           {Type::float64, color},
                                           {Type::float64, wetLevel}}}},
                                        QString()};
    return &format;
}

void Reverb::setUpFactors()
{
    for (ReverbUnit& unit : mReverbUnits) {
        unit.setRoomSize(floatValue(roomSize));
        unit.setLevel(floatValue(wetLevel));
        unit.setDecay(floatValue(decay));
        unit.setColor(floatValue(color));
    }
}

void Reverb::parameterDidChange(size_t)
{
    setUpFactors();
}

void Reverb::processingWillBegin()
{
    const ReverbUnit unit(floatValue(roomSize), floatValue(decay), floatValue(color), floatValue(wetLevel),
                          static_cast<float>(sampleRate()));
    mReverbUnits.assign(static_cast<size_t>(std::max(0, numTracks())), unit);
    Filter::processingWillBegin();
}

double Reverb::secondsUntilSilence() const
{
    const double level = parameterValue(wetLevel);
    // The loops go down to -60 dB within the decay, from the level of the room on.
    const double toGo = std::max(0.0, level + kSumOfCombsDB - kSilenceDB);
    const double perDecay = std::max(1e-3, level - kDecayedDB);
    const double decaySeconds = parameterValue(decay) * toGo / perDecay;
    const double loopSeconds = ReverbUnit::longestLoopSeconds(parameterValue(roomSize));
    return decaySeconds + loopSeconds + 0.006;
}

int64_t Reverb::tailTimeNumFrames() const
{
    return static_cast<int64_t>(std::min(kLongestTailSeconds, secondsUntilSilence()) * sampleRate());
}

bool Reverb::isTailCut() const
{
    return secondsUntilSilence() > kLongestTailSeconds;
}

bool Reverb::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    const auto count = static_cast<int>(std::min(block.size(), mReverbUnits.size()));
    const auto processTrack = [&](int track) {
        mReverbUnits[static_cast<size_t>(track)].processData(block[static_cast<size_t>(track)]);
    };
    if (count > 1 && block.front().size() >= kLeastFramesToShare)
        runConcurrently(count, processTrack);
    else
        for (int track = 0; track < count; ++track)
            processTrack(track);
    return true;
}

} // namespace velloria
