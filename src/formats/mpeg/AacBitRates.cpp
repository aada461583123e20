#include "formats/mpeg/AacBitRates.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velloria::AacBitRates
{

namespace
{

constexpr int64_t defaultBitRate = 128000;
// Bits per sample of a channel. A packet cannot hold more (ISO 14496-3: 6144 bits a channel of 1024 frames);
// with fewer the encoder has nothing left but noise.
constexpr double mostBits = 6.0;
constexpr double fewestBits = 0.35;

constexpr std::array<int64_t, 20> allRates = {8000,   12000,  16000,  20000,  24000,  32000,  40000,
                                              48000,  56000,  64000,  80000,  96000,  112000, 128000,
                                              160000, 192000, 224000, 256000, 320000, 384000};

} // namespace

std::vector<int64_t> applicable(double sampleRate, uint32_t numChannels)
{
    const double samplesPerSecond = std::max(1.0, sampleRate) * std::max(1U, numChannels);
    std::vector<int64_t> rates;
    std::copy_if(allRates.begin(), allRates.end(), std::back_inserter(rates),
                 [samplesPerSecond](int64_t rate) {
                     const double bits = static_cast<double>(rate) / samplesPerSecond;
                     return bits >= fewestBits && bits <= mostBits;
                 });
    if (rates.empty())
        rates.push_back(std::llround(samplesPerSecond));
    return rates;
}

int64_t closest(int64_t bitRate, double sampleRate, uint32_t numChannels)
{
    const std::vector<int64_t> rates = applicable(sampleRate, numChannels);
    return *std::min_element(rates.begin(), rates.end(), [bitRate](int64_t a, int64_t b) {
        return std::abs(a - bitRate) < std::abs(b - bitRate);
    });
}

FileOptions options(int64_t bitRate, double sampleRate, uint32_t numChannels)
{
    FileOptions options;
    options.label = QStringLiteral("Bit Rate:");
    for (const int64_t rate : applicable(sampleRate, numChannels))
        options.items.push_back({static_cast<int>(rate), QStringLiteral("%1 kbps").arg(rate / 1000)});
    options.selectedTag =
        static_cast<int>(closest(bitRate == 0 ? defaultBitRate : bitRate, sampleRate, numChannels));
    return options;
}

} // namespace velloria::AacBitRates
