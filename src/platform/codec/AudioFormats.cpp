#include "platform/codec/AudioFormats.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

struct Row {
    FourCharCode formatID;
    const char* name;
    uint32_t framesPerPacket;
    uint32_t bytesPerPacketAndChannel;
    uint32_t bitsPerChannel;
};

// IMA 4:1: per channel a 2-byte preamble and 64 samples of 4 bits.
constexpr std::array kRows = {
    Row{DataFormat::kIma4, "IMA 4:1", 64, 34, 0},
    Row{DataFormat::kALaw, "A-Law 2:1", 1, 1, 8},
    Row{DataFormat::kMuLaw, "mu-Law 2:1", 1, 1, 8},
    Row{DataFormat::kAac, "AAC", 1024, 0, 0},
    Row{DataFormat::kHeAac, "HE-AAC", 2048, 0, 0},
    Row{DataFormat::kHeAacV2, "HE-AAC v2", 2048, 0, 0},
    Row{DataFormat::kAppleLossless, "Apple Lossless", 4096, 0, 0},
    Row{DataFormat::kMp3, "MPEG Layer 3", 1152, 0, 0},
};
constexpr std::array<uint32_t, 4> kAppleLosslessBits = {16, 20, 24, 32};

} // namespace

std::optional<AudioFormatInfo> audioFormatInfo(FourCharCode formatID)
{
    const auto* row = std::find_if(kRows.begin(), kRows.end(),
                                   [formatID](const Row& each) { return each.formatID == formatID; });
    if (row == kRows.end())
        return std::nullopt;
    return AudioFormatInfo{row->formatID, QString::fromLatin1(row->name), row->framesPerPacket,
                           row->bytesPerPacketAndChannel, row->bitsPerChannel};
}

uint32_t appleLosslessBits(uint32_t formatFlags)
{
    return formatFlags >= 1 && formatFlags <= 4 ? kAppleLosslessBits[formatFlags - 1] : 16;
}

uint32_t appleLosslessFlags(uint32_t bits)
{
    const auto* found = std::find(kAppleLosslessBits.begin(), kAppleLosslessBits.end(), bits);
    return found == kAppleLosslessBits.end() ? 0
                                             : static_cast<uint32_t>(found - kAppleLosslessBits.begin()) + 1;
}

} // namespace velloria
