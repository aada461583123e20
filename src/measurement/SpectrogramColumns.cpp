#include "measurement/SpectrogramColumns.h"

#include "measurement/SpectrumSettings.h"

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>

namespace velloria
{

namespace
{

constexpr double kLowestFrequency = 40.0;
/// Long enough to part the partials of a voice, short enough to show its syllables.
constexpr double kPieceSeconds = 0.046;
constexpr double kMostPieces = 4.0;

} // namespace

double FrequencyAxis::lowest() const
{
    return isLogarithmic ? std::min(kLowestFrequency, highest() / 8.0) : 0.0;
}

double FrequencyAxis::frequencyAt(double share) const
{
    return isLogarithmic ? lowest() * std::pow(highest() / lowest(), share) : share * highest();
}

double FrequencyAxis::shareOf(double frequency) const
{
    return isLogarithmic ? std::log(frequency / lowest()) / std::log(highest() / lowest())
                         : frequency / highest();
}

size_t SpectrogramColumns::sizeAtRate(double sampleRate)
{
    const double exponent = std::round(std::log2(std::max(sampleRate, 1.0) * kPieceSeconds));
    return size_t{1} << static_cast<size_t>(std::clamp(exponent, 5.0, 15.0));
}

SpectrogramColumns::SpectrogramColumns(const FrequencyAxis& axis)
    : mTransform(sizeAtRate(axis.sampleRate))
    , mWeights(windowWeights(SpectrumSettings::Window::hann, mTransform.size()))
{
    addRows(axis);
}

void SpectrogramColumns::addRows(const FrequencyAxis& axis)
{
    const auto last = static_cast<double>(mTransform.size() / 2);
    const auto binAt = [&](double share) {
        return std::clamp(axis.frequencyAt(share) / axis.highest() * last, 0.0, last);
    };
    for (size_t i = 0; i < numRows; ++i) {
        const double low = binAt(static_cast<double>(i) / numRows);
        const double high = binAt(static_cast<double>(i + 1) / numRows);
        Row row;
        if (high - low >= 1.0) {
            row.first = static_cast<size_t>(std::ceil(low));
            row.end = static_cast<size_t>(std::ceil(high));
        } else {
            const double middle = std::min((low + high) / 2.0, last - 1.0);
            row.first = static_cast<size_t>(middle);
            row.end = row.first;
            row.between = static_cast<float>(middle - std::floor(middle));
        }
        mRows.push_back(row);
    }
}

float SpectrogramColumns::powerOfRow(const Row& row, const std::vector<float>& powers) const
{
    if (row.end == row.first)
        return powers[row.first] * (1.0F - row.between) + powers[row.first + 1] * row.between;
    return *std::max_element(powers.begin() + static_cast<std::ptrdiff_t>(row.first),
                             powers.begin() + static_cast<std::ptrdiff_t>(row.end));
}

std::vector<uint8_t> SpectrogramColumns::levels(const AudioTrack& track, int64_t firstColumn,
                                                size_t numColumns, double framesPerColumn) const
{
    const size_t size = mTransform.size();
    const double numPieces =
        std::clamp(std::floor(framesPerColumn / static_cast<double>(size)), 1.0, kMostPieces);
    std::vector<uint8_t> bytes(numColumns * numRows);
    FloatBuffer samples(size);
    TransformBuffer frames(size);
    HalfSpectrum spectrum(size);
    std::vector<float> powers(size / 2 + 1);
    for (size_t column = 0; column < numColumns; ++column) {
        std::fill(powers.begin(), powers.end(), 0.0F);
        const double start =
            static_cast<double>(firstColumn + static_cast<int64_t>(column)) * framesPerColumn;
        for (double piece = 0.5; piece < numPieces; piece += 1.0) {
            const auto middle = static_cast<int64_t>(start + framesPerColumn * piece / numPieces);
            track.readSamples(middle - static_cast<int64_t>(size / 2), samples);
            for (size_t i = 0; i < size; ++i)
                frames[i] = std::fabs(samples[i]) <= FLT_MAX ? samples[i] * mWeights[i] : 0.0F;
            mTransform.forward(frames, spectrum);
            for (size_t bin = 0; bin < powers.size(); ++bin)
                powers[bin] = std::max(powers[bin], 4.0F * std::norm(spectrum[bin]));
        }
        for (size_t row = 0; row < numRows; ++row) {
            const float level = 10.0F * std::log10(std::max(powerOfRow(mRows[row], powers), FLT_MIN));
            const double share = (static_cast<double>(level) - lowestLevelDB) / -lowestLevelDB;
            bytes[column * numRows + row] =
                static_cast<uint8_t>(std::lround(255.0 * std::clamp(share, 0.0, 1.0)));
        }
    }
    return bytes;
}

} // namespace velloria
