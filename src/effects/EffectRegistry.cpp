#include "effects/EffectRegistry.h"

#include "effects/added/AddMoreCowbell.h"
#include "effects/added/AddNoise.h"
#include "effects/delay/Chorus.h"
#include "effects/delay/DelayEcho.h"
#include "effects/dynamics/Compressor.h"
#include "effects/dynamics/NoiseGate.h"
#include "effects/fades/FadeIn.h"
#include "effects/fades/FadeOut.h"
#include "effects/fades/FadeSpecial.h"
#include "effects/fades/Interpolate.h"
#include "effects/filters/Eq10Band.h"
#include "effects/filters/Eq3Band.h"
#include "effects/filters/GraphicEqualizer.h"
#include "effects/filters/HighPassFilter.h"
#include "effects/filters/LowPassFilter.h"
#include "effects/gain/AmplifyVolume.h"
#include "effects/gain/DCOffset.h"
#include "effects/gain/Invert.h"
#include "effects/gain/Normalize.h"
#include "effects/gain/NormalizeLoudness.h"
#include "effects/order/Backwards.h"
#include "effects/order/SwapChannels.h"
#include "effects/reverb/Reverb.h"
#include "effects/stretch/PitchAndTempo.h"

#include <algorithm>

namespace velloria::EffectRegistry
{

namespace
{

template <typename Effect> std::unique_ptr<Filter> make(const QString& name)
{
    return std::make_unique<Effect>(name);
}

std::vector<EffectEntry> makeEntries()
{
    const QString gain = QStringLiteral("Gain");
    const QString dynamics = QStringLiteral("Dynamics");
    const QString fades = QStringLiteral("Fades");
    const QString filters = QStringLiteral("Equalizers");
    const QString delay = QStringLiteral("Delay");
    const QString time = QStringLiteral("Time");
    const QString added = QStringLiteral("Mix In");
    const QString channels = QStringLiteral("Channels");
    return {
        {QStringLiteral("Amplify..."), gain, QStringLiteral("amplify"),
         QStringLiteral("Makes the sound louder or softer."), make<AmplifyVolume>},
        {QStringLiteral("Normalize..."), gain, QStringLiteral("normalize"),
         QStringLiteral("Brings the loudest part to a target level."), make<Normalize>},
        {QStringLiteral("Normalize Loudness..."), gain, QStringLiteral("normalize loudness"),
         QStringLiteral(
             "Brings the loudness of the whole to a target, and keeps the true peak below a ceiling."),
         make<NormalizeLoudness>},
        {QStringLiteral("DC Offset..."), gain, QStringLiteral("dc offset"),
         QStringLiteral("Removes a constant offset of the waveform, or adds one."), make<DCOffset>},
        {QStringLiteral("Compressor..."), dynamics, QStringLiteral("compress"),
         QStringLiteral("Lowers what is too loud, and raises the rest."), make<Compressor>},
        {QStringLiteral("Expander..."), dynamics, QStringLiteral("expand"),
         QStringLiteral("Lowers what is soft, so that it differs more from what is loud."), make<Expander>},
        {QStringLiteral("Noise Gate..."), dynamics, QStringLiteral("noise gate"),
         QStringLiteral("Shuts out what is soft: noise between the words."), make<NoiseGate>},
        {QStringLiteral("Fade In"), fades, QStringLiteral("fade in"),
         QStringLiteral("Fades linearly from silence."), make<FadeIn>},
        {QStringLiteral("Fade Out"), fades, QStringLiteral("fade out"),
         QStringLiteral("Fades linearly to silence."), make<FadeOut>},
        {QStringLiteral("Fade Special..."), fades, QStringLiteral("fade special"),
         QStringLiteral("Fades along an envelope."), make<FadeSpecial>},
        {QStringLiteral("Interpolate"), fades, QStringLiteral("interpolate"),
         QStringLiteral("Bridges the selection with a smooth curve between its ends, which hides clicks."),
         make<Interpolate>},
        {QStringLiteral("Graphic Equalizer..."), filters, QStringLiteral("equalize"),
         QStringLiteral("Makes frequencies louder or softer along a curve through points anywhere."),
         make<GraphicEqualizer>},
        {QStringLiteral("Graphic EQ - 10 Band..."), filters, QStringLiteral("equalize 10"),
         QStringLiteral("Makes each of ten octaves louder or softer."), make<Eq10Band>},
        {QStringLiteral("Graphic EQ - 3 Band..."), filters, QStringLiteral("equalize 3"),
         QStringLiteral("Makes low, middle and high frequencies louder or softer."), make<Eq3Band>},
        {QStringLiteral("High Pass Filter..."), filters, QStringLiteral("high pass"),
         QStringLiteral("Takes low frequencies away, rumble and hum say."), make<HighPassFilter>},
        {QStringLiteral("Low Pass Filter..."), filters, QStringLiteral("low pass"),
         QStringLiteral("Takes high frequencies away, hiss say."), make<LowPassFilter>},
        {QStringLiteral("Delay..."), delay, QStringLiteral("add delay"),
         QStringLiteral("Adds an echo, once or again and again."), make<DelayEcho>},
        {QStringLiteral("Flanger..."), delay, QStringLiteral("flange"),
         QStringLiteral("Mixes in a copy with a short delay that sweeps to and fro."), make<Flanger>},
        {QStringLiteral("Chorus..."), delay, QStringLiteral("add chorus"),
         QStringLiteral("Makes one voice sound like several."), make<Chorus>},
        {QStringLiteral("Reverb..."), delay, QStringLiteral("reverb"),
         QStringLiteral("Puts the sound into a room."), make<Reverb>},
        {QStringLiteral("Add Noise..."), added, QStringLiteral("add noise"),
         QStringLiteral("Mixes white noise in."), make<AddNoise>},
        {QStringLiteral("Add More Cowbell..."), added, QStringLiteral("add more cowbell"),
         QStringLiteral("Mixes a cowbell in, struck twice a second."), make<AddMoreCowbell>},
        {QStringLiteral("Pitch and Tempo..."), time, QStringLiteral("change pitch"),
         QStringLiteral("Changes how high a sound is, or how long, each without the other."),
         make<PitchAndTempo>},
        {QStringLiteral("Reverse"), time, QStringLiteral("reverse"),
         QStringLiteral("Turns the sound around in time."), make<Backwards>},
        {QStringLiteral("Invert"), channels, QStringLiteral("invert"),
         QStringLiteral("Turns the polarity around."), make<Invert>},
        {QStringLiteral("Swap Channels"), channels, QStringLiteral("swap channels"),
         QStringLiteral("Exchanges left and right."), make<SwapChannels>},
    };
}

} // namespace

const std::vector<EffectEntry>& effects()
{
    static const std::vector<EffectEntry> entries = makeEntries();
    return entries;
}

const EffectEntry* effectWithScriptName(const QString& name)
{
    const auto isNamed = [&name](const EffectEntry& entry) {
        return entry.scriptName.compare(name, Qt::CaseInsensitive) == 0;
    };
    const auto found = std::find_if(effects().begin(), effects().end(), isNamed);
    return found == effects().end() ? nullptr : &*found;
}

} // namespace velloria::EffectRegistry
