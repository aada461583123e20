#include "platform/codec/CodecTable.h"

#include "platform/codec/StreamDescription.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

/// WAVE encodings have the code "ms" and the 16-bit number of the encoding.
constexpr FourCharCode waveCode(uint16_t tag)
{
    return 0x6D730000U | tag;
}

constexpr std::array kCodecs = {
    // FFmpeg's floating-point decoders are the more exact ones; for Layer 3 that is the default.
    CodecEntry{AV_CODEC_ID_MP3, DataFormat::kMp3, "mp3float", true},
    CodecEntry{AV_CODEC_ID_MP2, fourCharCode(".mp2"), "mp2float", true},
    CodecEntry{AV_CODEC_ID_MP1, fourCharCode(".mp1"), "mp1float", true},
    CodecEntry{AV_CODEC_ID_AAC, DataFormat::kAac, "aac", true},
    CodecEntry{AV_CODEC_ID_ALAC, DataFormat::kAppleLossless, "alac", true},
    CodecEntry{AV_CODEC_ID_FLAC, fourCharCode("flac"), "flac", false},
    CodecEntry{AV_CODEC_ID_PCM_ALAW, DataFormat::kALaw, "pcm_alaw", false},
    CodecEntry{AV_CODEC_ID_PCM_MULAW, DataFormat::kMuLaw, "pcm_mulaw", false},
    CodecEntry{AV_CODEC_ID_ADPCM_IMA_QT, DataFormat::kIma4, "adpcm_ima_qt", false},
    CodecEntry{AV_CODEC_ID_ADPCM_IMA_WAV, waveCode(0x11), "adpcm_ima_wav", false},
    CodecEntry{AV_CODEC_ID_ADPCM_MS, waveCode(0x02), "adpcm_ms", false},
    CodecEntry{AV_CODEC_ID_GSM_MS, waveCode(0x31), "gsm_ms", false},
    CodecEntry{AV_CODEC_ID_GSM, fourCharCode("agsm"), "gsm", false},
    CodecEntry{AV_CODEC_ID_MACE3, fourCharCode("MAC3"), "mace3", false},
    CodecEntry{AV_CODEC_ID_MACE6, fourCharCode("MAC6"), "mace6", false},
};

struct PcmRow {
    AVCodecID codecID;
    LinearPcmLayout layout;
};

constexpr std::array kPcm = {
    PcmRow{AV_CODEC_ID_PCM_U8, {1, false, false, false}},
    PcmRow{AV_CODEC_ID_PCM_S8, {1, false, false, true}},
    PcmRow{AV_CODEC_ID_PCM_S16LE, {2, false, false, true}},
    PcmRow{AV_CODEC_ID_PCM_S16BE, {2, false, true, true}},
    PcmRow{AV_CODEC_ID_PCM_U16LE, {2, false, false, false}},
    PcmRow{AV_CODEC_ID_PCM_U16BE, {2, false, true, false}},
    PcmRow{AV_CODEC_ID_PCM_S24LE, {3, false, false, true}},
    PcmRow{AV_CODEC_ID_PCM_S24BE, {3, false, true, true}},
    PcmRow{AV_CODEC_ID_PCM_S32LE, {4, false, false, true}},
    PcmRow{AV_CODEC_ID_PCM_S32BE, {4, false, true, true}},
    PcmRow{AV_CODEC_ID_PCM_F32LE, {4, true, false, true}},
    PcmRow{AV_CODEC_ID_PCM_F32BE, {4, true, true, true}},
    PcmRow{AV_CODEC_ID_PCM_F64LE, {8, true, false, true}},
    PcmRow{AV_CODEC_ID_PCM_F64BE, {8, true, true, true}},
};

constexpr CodecEntry kLinearPcmEntry = {AV_CODEC_ID_NONE, DataFormat::kLinearPcm, nullptr, false};

const PcmRow* pcmRow(AVCodecID codecID)
{
    const auto* row = std::find_if(kPcm.begin(), kPcm.end(),
                                   [codecID](const PcmRow& each) { return each.codecID == codecID; });
    return row == kPcm.end() ? nullptr : row;
}

} // namespace

const CodecEntry* codecEntry(AVCodecID codecID)
{
    const auto* entry = std::find_if(kCodecs.begin(), kCodecs.end(),
                                     [codecID](const CodecEntry& each) { return each.codecID == codecID; });
    if (entry != kCodecs.end())
        return entry;
    return pcmRow(codecID) ? &kLinearPcmEntry : nullptr;
}

std::optional<LinearPcmLayout> linearPcmLayout(AVCodecID codecID)
{
    const PcmRow* const row = pcmRow(codecID);
    return row ? std::optional(row->layout) : std::nullopt;
}

const char* decoderNames()
{
    static const std::string theNames = [] {
        std::string names;
        for (const CodecEntry& entry : kCodecs)
            names.append(names.empty() ? "" : ",").append(entry.decoderName);
        return names;
    }();
    return theNames.c_str();
}

} // namespace velloria
