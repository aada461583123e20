#include "platform/codec/StreamDescription.h"

#include "platform/Log.h"
#include "platform/codec/AudioFormats.h"

namespace velloria
{

namespace
{

AudioStreamBasicDescription floatDescription(double sampleRate, uint32_t flags, uint32_t frameChannels,
                                             uint32_t numChannels)
{
    AudioStreamBasicDescription asbd;
    asbd.sampleRate = sampleRate;
    asbd.formatID = DataFormat::kLinearPcm;
    asbd.formatFlags = flags;
    asbd.bytesPerPacket = 4 * frameChannels;
    asbd.framesPerPacket = 1;
    asbd.bytesPerFrame = 4 * frameChannels;
    asbd.channelsPerFrame = numChannels;
    asbd.bitsPerChannel = 32;
    return asbd;
}

void completeLinearPcm(AudioStreamBasicDescription& asbd)
{
    const bool isInterleaved = !(asbd.formatFlags & FormatFlag::kNonInterleaved);
    asbd.framesPerPacket = 1;
    asbd.bytesPerFrame = (asbd.bitsPerChannel + 7) / 8 * (isInterleaved ? asbd.channelsPerFrame : 1);
    asbd.bytesPerPacket = asbd.bytesPerFrame;
}

} // namespace

StreamDescription::StreamDescription(double sampleRate, uint32_t numChannels)
    : _asbd(floatDescription(sampleRate, FormatFlag::kFloat, numChannels, numChannels))
{
}

StreamDescription StreamDescription::nonInterleavedChannels(double sampleRate, uint32_t numChannels)
{
    return StreamDescription(
        floatDescription(sampleRate, FormatFlag::kFloat | FormatFlag::kNonInterleaved, 1, numChannels));
}

void StreamDescription::setNumChannels(uint32_t numChannels)
{
    _asbd.bytesPerFrame = _asbd.bitsPerChannel * numChannels;
    _asbd.bytesPerPacket = _asbd.bytesPerFrame * _asbd.framesPerPacket;
    _asbd.channelsPerFrame = numChannels;
}

void StreamDescription::useAudioFormatToValidateDescription()
{
    if (isLinearPcm()) {
        completeLinearPcm(_asbd);
        return;
    }
    const auto info = audioFormatInfo(_asbd.formatID);
    if (!info) {
        constexpr FourCharCode unsupportedFormat = fourCharCode("fmt?");
        logLine(QStringLiteral("Error in useAudioFormatToValidateDescription: %1").arg(unsupportedFormat));
        return;
    }
    _asbd.formatFlags = _asbd.formatID == DataFormat::kAppleLossless ? _asbd.formatFlags : 0;
    _asbd.framesPerPacket = info->framesPerPacket;
    _asbd.bytesPerPacket = info->bytesPerPacketAndChannel * _asbd.channelsPerFrame;
    _asbd.bitsPerChannel = info->bitsPerChannel;
    _asbd.bytesPerFrame = info->bitsPerChannel / 8 * _asbd.channelsPerFrame;
}

} // namespace velloria
