#include "formats/plain/AudioText.h"

#include <bit>
#include <charconv>

namespace velloria
{

namespace
{

constexpr int numDecimals = 9;
constexpr uint64_t unit = 1'000'000'000;
// The largest float has 39 digits before the point.
constexpr size_t longestNumber = 64;
constexpr double estimatedBytesPerSample = 13.0;

/// A float below 4 in billionths, the nearest, halves to even: what printing with nine decimals shows. The
/// product of the 24-bit significand and 10^9 has 54 bits, so that nothing is lost on the way.
uint64_t billionths(uint32_t magnitudeBits)
{
    constexpr uint32_t significandBits = 23;
    constexpr uint32_t bias = 127;
    constexpr uint32_t largestShift = 54;
    const uint32_t exponent = magnitudeBits >> significandBits;
    // Too small to matter, and the only floats without the highest bit of the significand.
    if (exponent < bias + significandBits - largestShift)
        return 0;
    const uint32_t implicitBit = uint32_t{1} << significandBits;
    const uint64_t product = ((magnitudeBits & (implicitBit - 1)) | implicitBit) * unit;
    const uint32_t shift = bias + significandBits - exponent;
    const uint64_t whole = product >> shift;
    const uint64_t rest = product - (whole << shift);
    const uint64_t half = uint64_t{1} << (shift - 1);
    return whole + ((rest > half || (rest == half && whole % 2 == 1)) ? 1 : 0);
}

/// Writes a number as printf's "%-1.9f" does and gives the place behind it. Twenty times as fast as the
/// library for the samples that occur.
char* printedSample(char* out, float sample)
{
    constexpr uint32_t signBit = 0x80000000;
    const auto bits = std::bit_cast<uint32_t>(sample);
    if ((bits & ~signBit) >= std::bit_cast<uint32_t>(4.0F)) {
        return std::to_chars(out, out + longestNumber, static_cast<double>(sample), std::chars_format::fixed,
                             numDecimals)
            .ptr;
    }
    if ((bits & signBit) != 0)
        *out++ = '-';
    const uint64_t value = billionths(bits & ~signBit);
    *out++ = static_cast<char>('0' + value / unit);
    *out++ = '.';
    auto decimals = static_cast<uint32_t>(value % unit);
    for (int i = numDecimals - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + decimals % 10);
        decimals /= 10;
    }
    return out + numDecimals;
}

} // namespace

AudioText::AudioText(double sampleRate, uint32_t sampleSize, uint32_t numChannels)
    : AudioFile(sampleRate, sampleSize, numChannels)
{
}

QString AudioText::fileFormatUTI() const
{
    return QStringLiteral("public.plain-text");
}

FileOptions AudioText::fileOptions() const
{
    return {QStringLiteral("Options:"), {{0, QStringLiteral("-"), false}}, 0};
}

double AudioText::estimatedFileSizeWithTag(int) const
{
    return static_cast<double>(mNumberOfFrames) * mNumberOfChannels * estimatedBytesPerSample;
}

MaybeError AudioText::writeFloatData(std::span<const float> interleaved, int64_t)
{
    const auto numChannels = static_cast<size_t>(mNumberOfChannels);
    const size_t numSamples = interleaved.size() - interleaved.size() % numChannels;
    std::vector<char> text(numSamples * (longestNumber + 1));
    char* end = text.data();
    for (size_t i = 0; i < numSamples; ++i) {
        end = printedSample(end, interleaved[i]);
        *end++ = (i + 1) % numChannels == 0 ? '\n' : '\t';
    }
    const auto numBytes = static_cast<size_t>(end - text.data());
    return writeRawData(std::as_bytes(std::span(text).first(numBytes)), lengthOfFile());
}

} // namespace velloria
